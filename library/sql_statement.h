#pragma once
// A prepared SQLite statement that finalizes itself, and the few helpers the
// library's files share for binding and reading columns. Internal to
// library/; one connection's thread.

#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace vremo {

class SqlStatement {
 public:
  SqlStatement(sqlite3* db, std::string_view sql) {
    if (sqlite3_prepare_v2(db, sql.data(), static_cast<int>(sql.size()), &stmt_, nullptr) != SQLITE_OK) {
      stmt_ = nullptr;
    }
  }
  ~SqlStatement() { sqlite3_finalize(stmt_); }
  SqlStatement(const SqlStatement&) = delete;
  SqlStatement& operator=(const SqlStatement&) = delete;

  bool ok() const { return stmt_ != nullptr; }
  sqlite3_stmt* get() { return stmt_; }

  // Bindings are 1-based, as in SQLite.
  void Bind(int index, int64_t value) { sqlite3_bind_int64(stmt_, index, value); }
  void Bind(int index, double value) { sqlite3_bind_double(stmt_, index, value); }
  void Bind(int index, std::string_view text) {
    sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
  }

  // SQLITE_ROW, SQLITE_DONE or an error code.
  int Step() { return stmt_ == nullptr ? SQLITE_MISUSE : sqlite3_step(stmt_); }
  // Runs to the end and makes the statement ready for new bindings.
  bool Run() {
    const int rc = Step();
    Reset();
    return rc == SQLITE_DONE || rc == SQLITE_ROW;
  }
  void Reset() {
    if (stmt_ == nullptr) return;
    sqlite3_reset(stmt_);
    sqlite3_clear_bindings(stmt_);
  }

  // Columns are 0-based.
  int64_t Int(int column) { return sqlite3_column_int64(stmt_, column); }
  double Real(int column) { return sqlite3_column_double(stmt_, column); }
  std::string Text(int column) {
    const auto* text = sqlite3_column_text(stmt_, column);
    return text == nullptr ? std::string()
                           : std::string(reinterpret_cast<const char*>(text), sqlite3_column_bytes(stmt_, column));
  }

 private:
  sqlite3_stmt* stmt_ = nullptr;
};

// Runs SQL that returns no rows; false on any error.
inline bool ExecSql(sqlite3* db, const char* sql) {
  return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

// BEGIN IMMEDIATE ... COMMIT, rolled back when not committed.
class SqlTransaction {
 public:
  explicit SqlTransaction(sqlite3* db) : db_(db), open_(ExecSql(db, "BEGIN IMMEDIATE")) {}
  ~SqlTransaction() {
    if (open_) ExecSql(db_, "ROLLBACK");
  }
  SqlTransaction(const SqlTransaction&) = delete;
  SqlTransaction& operator=(const SqlTransaction&) = delete;
  bool ok() const { return open_; }
  bool Commit() {
    if (!open_) return false;
    open_ = false;
    if (ExecSql(db_, "COMMIT")) return true;
    ExecSql(db_, "ROLLBACK");
    return false;
  }

 private:
  sqlite3* db_;
  bool open_;
};

}  // namespace vremo
