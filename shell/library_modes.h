#pragma once
// The chart library's command-line modes (--library-add, --library-remove,
// --library-scan, --library-find, --library-stats, each taking --library FILE
// for another index than the program folder's library.db). Like the chart
// modes they need no Qt or SDL: the vremo executable runs them before it
// loads the player. Main thread; a scan installs SIGINT/SIGTERM handlers for
// its duration so that Ctrl+C stops it after the song folder being written.

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace vremo {

// A scan stopped by SIGINT or SIGTERM ends with the shell's status for an
// interrupted command; what it wrote stays, and the next scan finishes it.
inline constexpr int kExitScanStopped = 130;
// --library-find matched nothing (as grep).
inline constexpr int kExitNoMatch = 1;

// The summary line of a scan (stdout), filled with added, updated, removed,
// unchanged and skipped.
inline constexpr std::string_view kScanSummaryFormat =
    "added %lld, updated %lld, removed %lld, unchanged %lld, skipped %lld";

// Messages on standard error, after "vremo: ".
inline constexpr std::string_view kNotAFolderText = "not a folder: ";
inline constexpr std::string_view kScanStoppedText = "scan stopped; the next --library-scan finishes it";
// Without a terminal, the scan's progress is a line every so many song folders.
inline constexpr int64_t kProgressEveryFolders = 250;

// Runs the library mode named in args (the arguments after the program name)
// and returns its exit status; empty when args name none. `progressOnOneLine`:
// `err` is a terminal, so the scan's progress rewrites one line instead of
// printing a line every few hundred song folders.
std::optional<int> RunLibraryMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                                  bool progressOnOneLine = false);

}  // namespace vremo
