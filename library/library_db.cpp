// Opening library.db (setting a bad file aside), the schema and its
// migrations, the library folders and reading the chart rows.
#include "library/library_db.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "chart/file_bytes.h"
#include "library/sql_statement.h"

namespace vremo {
namespace {

constexpr int kMaxBadCopies = 1000;
constexpr const char* kWalSuffix = "-wal";
constexpr const char* kShmSuffix = "-shm";
constexpr std::string_view kSqliteMagic{"SQLite format 3\0", 16};

// Each entry brings the schema from its index to the next version.
constexpr const char* kMigrations[] = {
    // 0 -> 1: folders, charts, results and the key-value notes.
    R"(CREATE TABLE meta(key TEXT PRIMARY KEY, value TEXT NOT NULL);
       CREATE TABLE roots(id INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE);
       CREATE TABLE charts(
         id INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE, folder TEXT NOT NULL,
         file_size INTEGER NOT NULL, modified_ns INTEGER NOT NULL, content_hash TEXT NOT NULL,
         title TEXT NOT NULL, subtitle TEXT NOT NULL, artist TEXT NOT NULL, genre TEXT NOT NULL,
         bpm REAL NOT NULL, bpm_min REAL NOT NULL, bpm_max REAL NOT NULL,
         play_level INTEGER NOT NULL, player INTEGER NOT NULL, key_count INTEGER NOT NULL,
         note_count INTEGER NOT NULL, length_ms INTEGER NOT NULL, rank INTEGER NOT NULL,
         total INTEGER NOT NULL, bms_id INTEGER NOT NULL, encoding TEXT NOT NULL,
         needs_modern INTEGER NOT NULL);
       CREATE INDEX charts_folder ON charts(folder);
       CREATE INDEX charts_identity ON charts(bms_id, title, artist);
       CREATE TABLE results(
         bms_id INTEGER NOT NULL, title TEXT NOT NULL, artist TEXT NOT NULL,
         plays INTEGER NOT NULL, best_judge_points REAL NOT NULL, best_points INTEGER NOT NULL,
         best_ex_points INTEGER NOT NULL, f_great INTEGER NOT NULL, great INTEGER NOT NULL,
         good INTEGER NOT NULL, bad INTEGER NOT NULL, poor INTEGER NOT NULL, last_played INTEGER NOT NULL,
         PRIMARY KEY(bms_id, title, artist));)",
};
static_assert(std::size(kMigrations) == kLibrarySchemaVersion);

// The tables the current schema must have; a file without them is not ours.
constexpr const char* kSchemaCheck =
    "SELECT count(*) FROM sqlite_master WHERE type='table' AND name IN ('meta','roots','charts','results')";
constexpr int64_t kSchemaTables = 4;

constexpr const char* kEntryColumns =
    "c.id, c.path, c.folder, c.file_size, c.modified_ns, c.content_hash, c.title, c.subtitle, c.artist, c.genre, "
    "c.bpm, c.bpm_min, c.bpm_max, c.play_level, c.player, c.key_count, c.note_count, c.length_ms, c.rank, "
    "c.total, c.bms_id, c.encoding, c.needs_modern, r.plays, r.best_judge_points, r.best_points, "
    "r.best_ex_points, r.f_great, r.great, r.good, r.bad, r.poor, r.last_played "
    "FROM charts c LEFT JOIN results r ON r.bms_id = c.bms_id AND r.title = c.title AND r.artist = c.artist";

constexpr const char* kUpsertChart =
    "INSERT INTO charts(path, folder, file_size, modified_ns, content_hash, title, subtitle, artist, genre, bpm, "
    "bpm_min, bpm_max, play_level, player, key_count, note_count, length_ms, rank, total, bms_id, encoding, "
    "needs_modern) VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?) ON CONFLICT(path) DO UPDATE SET "
    "folder=excluded.folder, file_size=excluded.file_size, modified_ns=excluded.modified_ns, "
    "content_hash=excluded.content_hash, title=excluded.title, subtitle=excluded.subtitle, artist=excluded.artist, "
    "genre=excluded.genre, bpm=excluded.bpm, bpm_min=excluded.bpm_min, bpm_max=excluded.bpm_max, "
    "play_level=excluded.play_level, player=excluded.player, key_count=excluded.key_count, "
    "note_count=excluded.note_count, length_ms=excluded.length_ms, rank=excluded.rank, total=excluded.total, "
    "bms_id=excluded.bms_id, encoding=excluded.encoding, needs_modern=excluded.needs_modern";

LibraryEntry EntryOf(SqlStatement& s) {
  LibraryEntry e;
  int c = 0;
  e.id = s.Int(c++);
  e.path = s.Text(c++);
  e.folder = s.Text(c++);
  e.fileSize = s.Int(c++);
  e.modifiedNs = s.Int(c++);
  e.contentHash = s.Text(c++);
  e.title = s.Text(c++);
  e.subtitle = s.Text(c++);
  e.artist = s.Text(c++);
  e.genre = s.Text(c++);
  e.bpm = s.Real(c++);
  e.bpmMin = s.Real(c++);
  e.bpmMax = s.Real(c++);
  e.playLevel = static_cast<int32_t>(s.Int(c++));
  e.player = static_cast<int32_t>(s.Int(c++));
  e.keyCount = static_cast<int32_t>(s.Int(c++));
  e.noteCount = static_cast<int32_t>(s.Int(c++));
  e.lengthMs = static_cast<int32_t>(s.Int(c++));
  e.rank = static_cast<int32_t>(s.Int(c++));
  e.total = static_cast<int32_t>(s.Int(c++));
  e.bmsId = static_cast<int32_t>(s.Int(c++));
  e.encoding = s.Text(c++);
  e.needsModern = s.Int(c++) != 0;
  LibraryResult& r = e.result;
  r.plays = static_cast<int32_t>(s.Int(c++));
  r.bestJudgePoints = s.Real(c++);
  r.bestPoints = static_cast<int32_t>(s.Int(c++));
  r.bestExPoints = static_cast<int32_t>(s.Int(c++));
  r.bestCounts.fGreat = static_cast<int32_t>(s.Int(c++));
  r.bestCounts.great = static_cast<int32_t>(s.Int(c++));
  r.bestCounts.good = static_cast<int32_t>(s.Int(c++));
  r.bestCounts.bad = static_cast<int32_t>(s.Int(c++));
  r.bestCounts.poor = static_cast<int32_t>(s.Int(c++));
  r.lastPlayed = s.Int(c++);
  return e;
}

int64_t QueryInt(sqlite3* db, const char* sql) {
  SqlStatement s(db, sql);
  return s.Step() == SQLITE_ROW ? s.Int(0) : -1;
}

bool Exists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

// library.db.bad, else library.db.bad.1, .2 ...: an earlier bad copy may be
// the user's only record of something, so none is overwritten.
std::string FreeBadName(const std::string& path) {
  const std::string base = path + std::string(kBadLibrarySuffix);
  if (!Exists(base)) return base;
  for (int n = 1; n < kMaxBadCopies; ++n) {
    const std::string name = base + "." + std::to_string(n);
    if (!Exists(name)) return name;
  }
  return std::string();
}

// Renames the file and its -wal and -shm files; the new name, or empty.
std::string SetAside(const std::string& path) {
  const std::string bad = FreeBadName(path);
  if (bad.empty() || std::rename(path.c_str(), bad.c_str()) != 0) return std::string();
  for (const char* suffix : {kWalSuffix, kShmSuffix}) {
    const std::string side = path + suffix;
    if (Exists(side)) std::rename(side.c_str(), (bad + suffix).c_str());
  }
  return bad;
}

// Why the open connection cannot serve as the library; empty when it can
// (the schema is then current).
std::string Prepare(sqlite3* db, int busyTimeoutMs) {
  sqlite3_busy_timeout(db, busyTimeoutMs);
  // The first read of the file: a file that is not a database fails here.
  const int64_t version = QueryInt(db, "PRAGMA user_version");
  if (version < 0) {
    const int code = sqlite3_extended_errcode(db) & 0xFF;
    return code == SQLITE_BUSY || code == SQLITE_LOCKED ? "locked" : "damaged";
  }
  if (version > kLibrarySchemaVersion) return "made by a newer Vremo";
  if (version == 0 && QueryInt(db, "SELECT count(*) FROM sqlite_master") != 0) return "not a library";
  {
    SqlStatement check(db, "PRAGMA quick_check(1)");
    if (check.Step() != SQLITE_ROW || check.Text(0) != "ok") return "damaged";
  }
  // Switching to WAL needs the file to itself; a library is in WAL already.
  bool wal = false;
  {
    SqlStatement mode(db, "PRAGMA journal_mode");
    wal = mode.Step() == SQLITE_ROW && mode.Text(0) == "wal";
  }
  if ((!wal && !ExecSql(db, "PRAGMA journal_mode=WAL")) || !ExecSql(db, "PRAGMA synchronous=NORMAL")) return "locked";
  if (version < kLibrarySchemaVersion) {
    SqlTransaction transaction(db);
    if (!transaction.ok()) return "locked";
    for (int64_t v = version; v < kLibrarySchemaVersion; ++v) {
      if (!ExecSql(db, kMigrations[v])) return "damaged";
    }
    const std::string setVersion = "PRAGMA user_version=" + std::to_string(kLibrarySchemaVersion);
    if (!ExecSql(db, setVersion.c_str()) || !transaction.Commit()) return "locked";
  }
  if (QueryInt(db, kSchemaCheck) != kSchemaTables) return "not a library";
  return std::string();
}

// A file that does not start as every SQLite file does is set aside before
// SQLite touches it (it would drop a -wal file it cannot use).
bool LooksLikeDatabase(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return errno == ENOENT;
  char head[kSqliteMagic.size()] = {};
  struct stat info {};
  const bool empty = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size == 0;
  const ssize_t got = empty ? 0 : ::read(fd, head, sizeof head);
  ::close(fd);
  return empty || (got == static_cast<ssize_t>(sizeof head) && std::string_view(head, sizeof head) == kSqliteMagic);
}

sqlite3* OpenConnection(const std::string& path) {
  sqlite3* db = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  if (sqlite3_open_v2(path.c_str(), &db, flags, nullptr) != SQLITE_OK) {
    sqlite3_close(db);
    return nullptr;
  }
  return db;
}

}  // namespace

std::string DefaultLibraryPath(const std::string& programFolder) {
  return (std::filesystem::path(programFolder) / std::string(kLibraryFileName)).string();
}

std::unique_ptr<LibraryDb> LibraryDb::Open(const std::string& path, std::string* message) {
  return Open(path, message, kLibraryBusyTimeoutMs);
}

std::unique_ptr<LibraryDb> LibraryDb::Open(const std::string& path, std::string* message, int busyTimeoutMs) {
  if (message != nullptr) message->clear();
  const bool database = LooksLikeDatabase(path);
  sqlite3* db = database ? OpenConnection(path) : nullptr;
  std::string problem = !database ? "not a database" : db == nullptr ? "cannot be opened" : Prepare(db, busyTimeoutMs);
  if (problem.empty()) return std::unique_ptr<LibraryDb>(new LibraryDb(db, path));
  sqlite3_close(db);

  const std::string bad = Exists(path) ? SetAside(path) : std::string();
  if (bad.empty() && Exists(path)) {
    if (message != nullptr) *message = "Library file " + problem + " and could not be set aside: " + path;
    return nullptr;
  }
  db = OpenConnection(path);
  const std::string again = db == nullptr ? "cannot be made" : Prepare(db, busyTimeoutMs);
  if (!again.empty()) {
    sqlite3_close(db);
    if (message != nullptr) *message = "Library file " + again + ": " + path;
    return nullptr;
  }
  if (message != nullptr && !bad.empty()) {
    *message = "Library file " + problem + ": kept as " + FileNameOf(bad) + ", a new library was made.";
  }
  return std::unique_ptr<LibraryDb>(new LibraryDb(db, path));
}

LibraryDb::~LibraryDb() { sqlite3_close(db_); }

std::vector<std::string> LibraryDb::Roots() {
  std::vector<std::string> roots;
  SqlStatement s(db_, "SELECT path FROM roots ORDER BY id");
  while (s.Step() == SQLITE_ROW) roots.push_back(s.Text(0));
  return roots;
}

std::string WithoutTrailingSlash(std::string folder) {
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  return folder;
}

bool LibraryDb::AddRoot(const std::string& given) {
  SqlStatement s(db_, "INSERT OR IGNORE INTO roots(path) VALUES(?)");
  s.Bind(1, WithoutTrailingSlash(given));
  return s.Run() && sqlite3_changes(db_) > 0;
}

bool LibraryDb::RemoveRoot(const std::string& given) {
  const std::string folder = WithoutTrailingSlash(given);
  SqlTransaction transaction(db_);
  SqlStatement s(db_, "DELETE FROM roots WHERE path = ?");
  s.Bind(1, folder);
  if (!s.Run() || sqlite3_changes(db_) == 0) return false;
  // Charts that another library folder also holds stay.
  const std::vector<std::string> others = Roots();
  auto held = [&others](const std::string& path) {
    return std::any_of(others.begin(), others.end(),
                       [&path](const std::string& other) { return path.rfind(other + "/", 0) == 0; });
  };
  if (held(folder)) return transaction.Commit();
  std::vector<std::string> vanished;
  for (const KnownFile& file : FilesUnder(folder)) {
    if (!held(file.path)) vanished.push_back(file.path);
  }
  SqlStatement remove(db_, "DELETE FROM charts WHERE path = ?");
  for (const std::string& path : vanished) {
    remove.Bind(1, path);
    remove.Run();
  }
  return transaction.Commit();
}

std::vector<LibraryEntry> LibraryDb::Entries() {
  std::vector<LibraryEntry> entries;
  SqlStatement s(db_, std::string("SELECT ") + kEntryColumns + " ORDER BY c.path");
  while (s.Step() == SQLITE_ROW) entries.push_back(EntryOf(s));
  return entries;
}

std::optional<LibraryEntry> LibraryDb::EntryByPath(const std::string& path) {
  SqlStatement s(db_, std::string("SELECT ") + kEntryColumns + " WHERE c.path = ?");
  s.Bind(1, path);
  if (s.Step() != SQLITE_ROW) return std::nullopt;
  return EntryOf(s);
}

int64_t LibraryDb::DataVersion() { return QueryInt(db_, "PRAGMA data_version"); }

LibraryStats LibraryDb::Stats() {
  LibraryStats stats;
  SqlStatement s(db_,
                 "SELECT count(*), count(DISTINCT c.folder), coalesce(sum(r.plays > 0), 0), "
                 "coalesce(sum(c.needs_modern), 0), coalesce(sum(c.length_ms), 0) FROM charts c LEFT JOIN results r "
                 "ON r.bms_id = c.bms_id AND r.title = c.title AND r.artist = c.artist");
  if (s.Step() == SQLITE_ROW) {
    stats.charts = s.Int(0);
    stats.folders = s.Int(1);
    stats.played = s.Int(2);
    stats.needsModern = s.Int(3);
    stats.totalLengthMs = s.Int(4);
  }
  stats.roots = std::max<int64_t>(QueryInt(db_, "SELECT count(*) FROM roots"), 0);
  return stats;
}

std::vector<LibraryDb::KnownFile> LibraryDb::FilesUnder(const std::string& folder) {
  // The range [folder + "/", folder + "0") is every path below the folder
  // ("0" follows "/"), and it uses the path index.
  std::vector<KnownFile> files;
  SqlStatement s(db_, "SELECT path, file_size, modified_ns FROM charts WHERE path >= ? AND path < ? ORDER BY path");
  s.Bind(1, folder + "/");
  s.Bind(2, folder + "0");
  while (s.Step() == SQLITE_ROW) files.push_back(KnownFile{s.Text(0), s.Int(1), s.Int(2)});
  return files;
}

struct LibraryDb::ChartWriter::Statements {
  explicit Statements(sqlite3* db)
      : transaction(db), upsert(db, kUpsertChart), remove(db, "DELETE FROM charts WHERE path = ?") {}
  SqlTransaction transaction;
  SqlStatement upsert;
  SqlStatement remove;
};

LibraryDb::ChartWriter::ChartWriter(LibraryDb& db) : s_(std::make_unique<Statements>(db.db_)) {
  ok_ = s_->transaction.ok() && s_->upsert.ok() && s_->remove.ok();
}

LibraryDb::ChartWriter::~ChartWriter() = default;

bool LibraryDb::ChartWriter::Put(const LibraryEntry& e) {
  if (!ok_) return false;
  SqlStatement& upsert = s_->upsert;
  int c = 1;
  upsert.Bind(c++, e.path);
  upsert.Bind(c++, e.folder);
  upsert.Bind(c++, e.fileSize);
  upsert.Bind(c++, e.modifiedNs);
  upsert.Bind(c++, e.contentHash);
  upsert.Bind(c++, e.title);
  upsert.Bind(c++, e.subtitle);
  upsert.Bind(c++, e.artist);
  upsert.Bind(c++, e.genre);
  upsert.Bind(c++, e.bpm);
  upsert.Bind(c++, e.bpmMin);
  upsert.Bind(c++, e.bpmMax);
  for (int32_t value : {e.playLevel, e.player, e.keyCount, e.noteCount, e.lengthMs, e.rank, e.total, e.bmsId}) {
    upsert.Bind(c++, static_cast<int64_t>(value));
  }
  upsert.Bind(c++, e.encoding);
  upsert.Bind(c++, static_cast<int64_t>(e.needsModern ? 1 : 0));
  ok_ = upsert.Run();
  return ok_;
}

bool LibraryDb::ChartWriter::Remove(const std::string& path) {
  if (!ok_) return false;
  s_->remove.Bind(1, path);
  ok_ = s_->remove.Run();
  return ok_;
}

bool LibraryDb::ChartWriter::Commit() {
  ok_ = ok_ && s_->transaction.Commit();
  return ok_;
}

bool LibraryDb::WriteCharts(const std::vector<LibraryEntry>& charts, const std::vector<std::string>& vanished) {
  ChartWriter writer(*this);
  for (const LibraryEntry& e : charts) writer.Put(e);
  for (const std::string& path : vanished) writer.Remove(path);
  return writer.Commit();
}

}  // namespace vremo
