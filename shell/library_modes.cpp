// --library-add, --library-remove, --library-scan, --library-find and
// --library-stats: the chart library from scripts and a terminal.
#include "shell/library_modes.h"

#include <signal.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <system_error>

#include "library/library_db.h"
#include "library/library_scan.h"
#include "library/library_search.h"
#include "shell/program_folder.h"
#include "shell/tool_modes.h"

namespace vremo {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kLibraryOption = "--library";
constexpr std::string_view kAddMode = "--library-add";
constexpr std::string_view kRemoveMode = "--library-remove";
constexpr std::string_view kScanMode = "--library-scan";
constexpr std::string_view kFindMode = "--library-find";
constexpr std::string_view kStatsMode = "--library-stats";
constexpr std::string_view kKeysOption = "--keys";
constexpr std::string_view kLevelOption = "--level";

constexpr const char* kProgram = "vremo: ";
constexpr const char* kNotARoot = "not a library folder: ";
constexpr const char* kAlreadyARoot = "already a library folder: ";
constexpr const char* kNoRoots = "no library folders yet: add one with --library-add DIR";
constexpr const char* kProgressFormat = "scanning: %lld of %lld song folders, %lld charts read";

constexpr int64_t kSecondsPerHour = 3600;
constexpr int64_t kSecondsPerMinute = 60;
constexpr int64_t kMsPerSecond = 1000;

std::atomic<bool> gStopScan{false};

extern "C" void StopScan(int) { gStopScan.store(true); }

// SIGINT and SIGTERM stop the scan between song folders while it runs; the
// previous handlers come back afterwards.
class StopSignals {
 public:
  StopSignals() {
    gStopScan.store(false);
    struct sigaction action {};
    action.sa_handler = StopScan;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &oldInt_);
    sigaction(SIGTERM, &action, &oldTerm_);
  }
  ~StopSignals() {
    sigaction(SIGINT, &oldInt_, nullptr);
    sigaction(SIGTERM, &oldTerm_, nullptr);
  }
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

 private:
  struct sigaction oldInt_ {};
  struct sigaction oldTerm_ {};
};

struct Request {
  std::string mode;
  std::string library;             // empty: the program folder's
  std::vector<std::string> words;  // folders, or the text to find
  LibraryQuery query;
};

bool IsMode(std::string_view arg) {
  return arg == kAddMode || arg == kRemoveMode || arg == kScanMode || arg == kFindMode || arg == kStatsMode;
}

std::optional<int32_t> ParseCount(std::string_view text) {
  int32_t value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size() || value < 0) {
    return std::nullopt;
  }
  return value;
}

// "A-B", "A-", "-B" or "A" (exactly A).
bool ParseLevels(std::string_view text, LibraryQuery& query) {
  const size_t dash = text.find('-');
  const std::string_view low = text.substr(0, dash);
  const std::string_view high = dash == std::string_view::npos ? low : text.substr(dash + 1);
  const auto min = low.empty() ? std::optional<int32_t>(0) : ParseCount(low);
  const auto max = high.empty() ? std::optional<int32_t>(0) : ParseCount(high);
  if (!min || !max || (low.empty() && high.empty())) return false;
  query.minLevel = *min;
  query.maxLevel = *max;
  return true;
}

bool ParseOption(std::string_view arg, const std::string& value, Request& request, std::ostream& err) {
  if (arg == kLibraryOption) {
    request.library = value;
    return true;
  }
  if (arg == kKeysOption && request.mode == kFindMode) {
    if (const auto keys = ParseCount(value)) {
      request.query.keyCount = *keys;
      return true;
    }
  } else if (arg == kLevelOption && request.mode == kFindMode) {
    if (ParseLevels(value, request.query)) return true;
  } else {
    err << kProgram << "unknown option for " << request.mode << ": " << arg << '\n';
    return false;
  }
  err << kProgram << "bad value for " << arg << ": " << value << '\n';
  return false;
}

// False with a message on `err` for wrong usage.
bool ParseRequest(const std::vector<std::string>& args, Request& request, std::ostream& err) {
  for (const std::string& arg : args) {
    if (IsMode(arg)) {
      request.mode = arg;
      break;
    }
  }
  if (request.mode.empty()) {
    err << kProgram << kLibraryOption << " goes with a library mode (" << kScanMode << ", " << kFindMode << ", ...)\n";
    return false;
  }
  bool modeSeen = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (!modeSeen && arg == request.mode) {
      modeSeen = true;
    } else if (arg == kLibraryOption || arg == kKeysOption || arg == kLevelOption) {
      if (i + 1 >= args.size()) {
        err << kProgram << arg << " needs a value\n";
        return false;
      }
      if (!ParseOption(arg, args[++i], request, err)) return false;
    } else if (arg.starts_with("--") && request.mode != kFindMode) {
      err << kProgram << "unknown option for " << request.mode << ": " << arg << '\n';
      return false;
    } else {
      request.words.push_back(arg);
    }
  }
  const bool takesFolders = request.mode == kAddMode || request.mode == kRemoveMode;
  if (takesFolders && request.words.empty()) {
    err << kProgram << request.mode << " needs at least one folder\n";
    return false;
  }
  if ((request.mode == kScanMode || request.mode == kStatsMode) && !request.words.empty()) {
    err << kProgram << request.mode << " takes no argument: " << request.words[0] << '\n';
    return false;
  }
  return true;
}

std::unique_ptr<LibraryDb> OpenLibrary(const Request& request, std::ostream& err) {
  const std::string path = request.library.empty() ? DefaultLibraryPath(ProgramFolder()) : request.library;
  std::string message;
  auto db = LibraryDb::Open(path, &message);
  if (!message.empty()) err << kProgram << message << '\n';
  return db;
}

std::string Printed(const char* format, long long a, long long b, long long c, long long d = 0, long long e = 0) {
  char line[256];
  std::snprintf(line, sizeof line, format, a, b, c, d, e);
  return line;
}

// Adds up the reports of several roots and prints progress while they run.
class ScanPrinter {
 public:
  ScanPrinter(std::ostream& err, bool oneLine) : err_(err), oneLine_(oneLine) {}

  std::function<void(const ScanProgress&)> Callback() {
    return [this](const ScanProgress& progress) { Show(progress); };
  }
  void Add(const ScanReport& report) {
    EndLine();
    total_.added += report.added;
    total_.updated += report.updated;
    total_.removed += report.removed;
    total_.unchanged += report.unchanged;
    total_.cancelled = total_.cancelled || report.cancelled;
    for (const std::string& line : report.skipped) err_ << kProgram << line << '\n';
    skipped_ += static_cast<int64_t>(report.skipped.size());
  }
  // The summary on `out`; the exit status.
  int Finish(std::ostream& out) {
    out << Printed(kScanSummaryFormat.data(), total_.added, total_.updated, total_.removed, total_.unchanged, skipped_)
        << '\n';
    // A stop between two library folders leaves the second unscanned too.
    if (!total_.cancelled && !gStopScan.load()) return kExitLoaded;
    err_ << kProgram << kScanStoppedText << '\n';
    return kExitScanStopped;
  }

 private:
  void Show(const ScanProgress& progress) {
    const bool due = progress.foldersDone % kProgressEveryFolders == 0;
    if (!oneLine_ && !due) return;
    err_ << (oneLine_ ? "\r" : "")
         << Printed(kProgressFormat, progress.foldersDone, progress.foldersTotal, progress.chartsRead)
         << (oneLine_ ? "" : "\n");
    err_.flush();
    lineOpen_ = oneLine_;
  }
  void EndLine() {
    if (lineOpen_) err_ << '\n';
    lineOpen_ = false;
  }

  std::ostream& err_;
  bool oneLine_;
  bool lineOpen_ = false;
  ScanReport total_;
  int64_t skipped_ = 0;
};

// Absolute, without "." or ".." parts or a closing "/", as the roots are kept.
std::string AbsoluteFolder(const std::string& folder) {
  std::error_code error;
  const fs::path absolute = fs::absolute(folder, error);
  std::string normal = (error ? fs::path(folder) : absolute).lexically_normal().string();
  if (normal.size() > 1 && normal.ends_with('/')) normal.pop_back();
  return normal;
}

// Every folder must exist before any is added.
int AddFolders(LibraryDb& db, const Request& request, std::ostream& out, std::ostream& err, bool oneLine) {
  std::vector<std::string> folders;
  for (const std::string& word : request.words) {
    const std::string folder = AbsoluteFolder(word);
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
      err << kProgram << kNotAFolderText << word << '\n';
      return kExitMissing;
    }
    // The same folder named twice is scanned once.
    if (std::find(folders.begin(), folders.end(), folder) == folders.end()) folders.push_back(folder);
  }
  for (const std::string& folder : folders) {
    if (!db.AddRoot(folder)) err << kProgram << kAlreadyARoot << folder << '\n';
  }
  StopSignals signals;
  ScanPrinter printer(err, oneLine);
  for (const std::string& folder : folders) {
    if (gStopScan.load()) break;
    printer.Add(ScanLibraryRoot(db, folder, ScanOptions{}, printer.Callback(), &gStopScan));
  }
  db.ImportScoreLog(ProgramFolder());
  return printer.Finish(out);
}

int RemoveFolders(LibraryDb& db, const Request& request, std::ostream& out, std::ostream& err) {
  const int64_t before = db.Stats().charts;
  int status = kExitLoaded;
  for (const std::string& word : request.words) {
    const std::string folder = AbsoluteFolder(word);
    if (!db.RemoveRoot(folder)) {
      err << kProgram << kNotARoot << folder << '\n';
      status = kExitMissing;
    }
  }
  out << Printed(kScanSummaryFormat.data(), 0, 0, before - db.Stats().charts, 0, 0) << '\n';
  return status;
}

int Scan(LibraryDb& db, std::ostream& out, std::ostream& err, bool oneLine) {
  if (db.Roots().empty()) err << kProgram << kNoRoots << '\n';
  StopSignals signals;
  ScanPrinter printer(err, oneLine);
  printer.Add(ScanLibrary(db, ScanOptions{}, printer.Callback(), &gStopScan));
  db.ImportScoreLog(ProgramFolder());
  return printer.Finish(out);
}

int Find(LibraryDb& db, Request& request, std::ostream& out) {
  for (const std::string& word : request.words) {
    if (!request.query.text.empty()) request.query.text += ' ';
    request.query.text += word;
  }
  request.query.sortBy = LibraryColumn::kPath;
  const LibraryIndex index(db.Entries());
  const std::vector<int32_t> found = index.Find(request.query);
  for (int32_t i : found) out << index.entries()[static_cast<size_t>(i)].path << '\n';
  out.flush();
  return found.empty() ? kExitNoMatch : kExitLoaded;
}

std::string Duration(int64_t ms) {
  const int64_t seconds = ms / kMsPerSecond;
  char text[64];
  std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", static_cast<long long>(seconds / kSecondsPerHour),
                static_cast<long long>(seconds % kSecondsPerHour / kSecondsPerMinute),
                static_cast<long long>(seconds % kSecondsPerMinute));
  return text;
}

// The index file with its write-ahead log.
int64_t FileBytes(const std::string& path) {
  int64_t bytes = 0;
  for (const std::string& file : {path, path + "-wal"}) {
    std::error_code error;
    const auto size = fs::file_size(file, error);
    if (!error) bytes += static_cast<int64_t>(size);
  }
  return bytes;
}

int PrintStats(LibraryDb& db, const Request& request, std::ostream& out) {
  db.ImportScoreLog(ProgramFolder());
  const LibraryStats stats = db.Stats();
  const std::string path = request.library.empty() ? DefaultLibraryPath(ProgramFolder()) : request.library;
  out << "charts: " << stats.charts << '\n'
      << "song folders: " << stats.folders << '\n'
      << "library folders: " << stats.roots << '\n'
      << "played: " << stats.played << '\n'
      << "needing modern reading: " << stats.needsModern << '\n'
      << "total length: " << Duration(stats.totalLengthMs) << '\n'
      << "library file: " << FileBytes(path) << " bytes\n";
  out.flush();
  return kExitLoaded;
}

}  // namespace

std::optional<int> RunLibraryMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                                  bool progressOnOneLine) {
  if (args.empty() || (!IsMode(args[0]) && args[0] != kLibraryOption)) return std::nullopt;
  Request request;
  if (!ParseRequest(args, request, err)) return kExitUsage;
  auto db = OpenLibrary(request, err);
  if (!db) return kExitWriteFailed;
  if (request.mode == kAddMode) return AddFolders(*db, request, out, err, progressOnOneLine);
  if (request.mode == kRemoveMode) return RemoveFolders(*db, request, out, err);
  if (request.mode == kScanMode) return Scan(*db, out, err, progressOnOneLine);
  if (request.mode == kFindMode) return Find(*db, request, out);
  return PrintStats(*db, request, out);
}

}  // namespace vremo
