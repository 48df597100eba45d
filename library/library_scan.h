#pragma once
// Scanning the library folders: every *.bms / *.bme file under each root
// (symlinked folders followed once, loops cut), charts read on worker
// threads, one transaction per song folder. A rescan reads only files whose
// size or mtime changed and removes rows of files that vanished. A scan that
// is stopped (cancel flag, a kill) leaves whole folders written; the next
// scan finishes the rest. Runs on the caller's thread, which may be any
// thread but the one using another LibraryDb on the same file for writing.

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "library/library_db.h"

namespace vremo {

// What the scan reports skipping: the prefix, then the path (and the
// system's reason in brackets where there is one).
inline constexpr std::string_view kSkipUnreadableFolder = "Unreadable folder: ";
inline constexpr std::string_view kSkipFolderLoop = "Folder loop cut: ";
inline constexpr std::string_view kSkipBrokenLink = "Broken link: ";
inline constexpr std::string_view kSkipNotAFile = "Not a regular file: ";
inline constexpr std::string_view kSkipMissingRoot = "Library folder missing: ";
inline constexpr std::string_view kSkipUnreadableChart = "Chart not read: ";
inline constexpr std::string_view kSkipUnwritableFolder = "Folder not written: ";

// How many charts the readers may read ahead of the one being written: it
// bounds the charts held in memory, whatever the library's size.
inline constexpr int32_t kScanReadAhead = 256;

struct ScanOptions {
  int32_t threads = 0;  // chart readers; 0 = one per core
  int32_t readAhead = kScanReadAhead;
};

struct ScanProgress {
  int64_t foldersDone = 0;
  int64_t foldersTotal = 0;  // grows while the walk finds more
  int64_t chartsRead = 0;    // read in this scan (new or changed)
  std::string folder;        // the song folder just written
};

struct ScanReport {
  int64_t added = 0;
  int64_t updated = 0;
  int64_t removed = 0;
  int64_t unchanged = 0;
  bool cancelled = false;
  // One line per thing the scan could not use, e.g. an unreadable folder or
  // a chart that vanished while it was read; the scan went on without it.
  std::vector<std::string> skipped;
};

// `onProgress` (may be empty) is called on the caller's thread after each
// song folder is written. `cancel` (may be null) is polled between files.
ScanReport ScanLibrary(LibraryDb& db, const ScanOptions& options,
                       const std::function<void(const ScanProgress&)>& onProgress, const std::atomic<bool>* cancel);

// Scans only `root` (which must be one of the library's roots).
ScanReport ScanLibraryRoot(LibraryDb& db, const std::string& root, const ScanOptions& options,
                           const std::function<void(const ScanProgress&)>& onProgress, const std::atomic<bool>* cancel);

}  // namespace vremo
