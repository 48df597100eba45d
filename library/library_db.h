#pragma once
// The library's index, one SQLite file (library.db beside the other user
// files, WAL mode, a schema version with migrations): the library folders,
// one row per chart and the results read from the score log. A LibraryDb is
// one connection: use it on one thread at a time; the scanner, the browser
// and each tool mode open their own, and every write is a transaction, so a
// reader never sees half a folder.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "library/library_entry.h"

struct sqlite3;

namespace vremo {

inline constexpr std::string_view kLibraryFileName = "library.db";
// A library that cannot be opened is renamed to library.db.bad, never deleted
// (library.db.bad.1, .2 ... when an earlier one is still there).
inline constexpr std::string_view kBadLibrarySuffix = ".bad";

struct LibraryStats {
  int64_t charts = 0;
  int64_t folders = 0;  // song folders
  int64_t roots = 0;    // library folders
  int64_t played = 0;   // charts with at least one result
  int64_t needsModern = 0;
  int64_t totalLengthMs = 0;
};

class LibraryDb {
 public:
  // Opens or creates the library at `path` and brings its schema up to the
  // current version. A file that is corrupt, not a library, from a newer
  // Vremo or locked beyond the wait is renamed to `path` + ".bad" (or the
  // first free ".bad.N"; its -wal and -shm files go with it) and a new
  // library is made; `message` then says so in one line for the user, e.g.
  // "Library file damaged: kept as library.db.bad, a new library was made."
  // Empty only when no library can be made at all (`message` says why).
  static std::unique_ptr<LibraryDb> Open(const std::string& path, std::string* message);
  // The same with another wait for a lock than kLibraryBusyTimeoutMs.
  static std::unique_ptr<LibraryDb> Open(const std::string& path, std::string* message, int busyTimeoutMs);
  ~LibraryDb();

  // Library folders, as given (absolute, without a trailing "/"), in the
  // order added.
  std::vector<std::string> Roots();
  bool AddRoot(const std::string& folder);     // false when already there
  bool RemoveRoot(const std::string& folder);  // its charts go with it

  // Every chart with its result, ordered by path.
  std::vector<LibraryEntry> Entries();
  std::optional<LibraryEntry> EntryByPath(const std::string& path);
  LibraryStats Stats();
  // Differs from the last call's value when another connection (the scan's
  // thread, another Vremo) has committed since: time to read the rows again.
  int64_t DataVersion();

  // Reads what the score log (vremoscore.txt in `programFolder`) gained
  // since the last call and folds it into the results. Returns the number
  // of result blocks read.
  int32_t ImportScoreLog(const std::string& programFolder);

  sqlite3* handle() { return db_; }  // for the scanner in this module

  // For the scanner: what is known of every chart under `folder` (a root or
  // a song folder, without a trailing "/"), ordered by path.
  struct KnownFile {
    std::string path;
    int64_t fileSize = 0;
    int64_t modifiedNs = 0;
  };
  std::vector<KnownFile> FilesUnder(const std::string& folder);
  // Writes new and changed charts and removes vanished ones in one
  // transaction; false (nothing written) when the database refuses.
  bool WriteCharts(const std::vector<LibraryEntry>& charts, const std::vector<std::string>& vanished);

  // The same a chart at a time, for a folder too large to hold in memory:
  // nothing is seen by other connections before Commit, and everything is
  // taken back when the writer goes without it.
  class ChartWriter {
   public:
    explicit ChartWriter(LibraryDb& db);
    ~ChartWriter();
    ChartWriter(const ChartWriter&) = delete;
    ChartWriter& operator=(const ChartWriter&) = delete;
    bool Put(const LibraryEntry& chart);  // false once anything failed
    bool Remove(const std::string& path);
    bool Commit();

   private:
    struct Statements;
    std::unique_ptr<Statements> s_;
    bool ok_ = false;
  };

  const std::string& path() const { return path_; }

 private:
  LibraryDb(sqlite3* db, std::string path) : db_(db), path_(std::move(path)) {}
  sqlite3* db_;
  std::string path_;
};

// How long a connection waits for another's lock before it gives up.
inline constexpr int kLibraryBusyTimeoutMs = 3000;

// The schema version this Vremo writes; older files are brought up to it.
inline constexpr int32_t kLibrarySchemaVersion = 1;

// A folder as the library names it: no "/" at the end.
std::string WithoutTrailingSlash(std::string folder);

// ProgramFolder()'s library.db.
std::string DefaultLibraryPath(const std::string& programFolder);

}  // namespace vremo
