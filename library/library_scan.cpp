// The scan: walk, compare with the rows, read what changed on workers, and
// write one transaction per song folder on the caller's thread.
#include "library/library_scan.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <unordered_map>

#include "library/chart_facts.h"
#include "library/folder_walk.h"

namespace vremo {
namespace {

std::string ParentOf(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

// One chart to read, and what came of it.
struct ReadJob {
  std::string path;
  bool isNew = false;  // no row yet
  std::optional<LibraryEntry> entry;
  std::string error;
};

// What one song folder's transaction holds.
struct FolderPlan {
  std::string path;
  size_t firstJob = 0;  // its charts to read: jobs [firstJob, endJob)
  size_t endJob = 0;
  std::vector<std::string> vanished;
  int64_t unchanged = 0;
};

// The worker side: jobs taken in order, never more than `readAhead` past
// the chart being written.
class ReadQueue {
 public:
  ReadQueue(std::vector<ReadJob>& jobs, size_t readAhead, const std::atomic<bool>* cancel)
      : jobs_(jobs), readAhead_(readAhead), cancel_(cancel), read_(jobs.size(), false) {}

  size_t readAhead() const { return readAhead_; }

  void Work() {
    ChartFactsReader reader;
    while (true) {
      size_t index = 0;
      {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return stop_ || next_ >= jobs_.size() || next_ < allowedEnd_; });
        if (stop_ || next_ >= jobs_.size() || Cancelled()) {
          finished_.notify_all();  // the writer may be waiting for a job no one will read
          return;
        }
        index = next_++;
      }
      ReadJob& job = jobs_[index];
      job.entry = reader.Read(job.path, &job.error);
      std::lock_guard lock(mutex_);
      // Jobs may finish out of order; the writer needs an unbroken run.
      read_[index] = true;
      while (readUpTo_ < read_.size() && read_[readUpTo_]) ++readUpTo_;
      finished_.notify_all();
    }
  }

  // Lets the readers go up to `end` and waits until the jobs before
  // `until` are read (or the scan is cancelled and the readers stopped).
  bool WaitFor(size_t until) {
    std::unique_lock lock(mutex_);
    allowedEnd_ = std::max(allowedEnd_, std::min(jobs_.size(), until + readAhead_));
    changed_.notify_all();
    finished_.wait(lock, [&] { return readUpTo_ >= until || Cancelled(); });
    return readUpTo_ >= until;
  }

  void Stop() {
    std::lock_guard lock(mutex_);
    stop_ = true;
    changed_.notify_all();
  }

 private:
  bool Cancelled() const { return cancel_ != nullptr && cancel_->load(); }

  std::vector<ReadJob>& jobs_;
  const size_t readAhead_;
  const std::atomic<bool>* cancel_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::condition_variable finished_;
  std::vector<bool> read_;  // per job: read
  size_t readUpTo_ = 0;     // every job before it is read
  size_t next_ = 0;         // the next job to hand out
  size_t allowedEnd_ = 0;
  bool stop_ = false;
};

struct ScanPlan {
  std::vector<FolderPlan> folders;
  std::vector<ReadJob> jobs;
};

// Compares the walk with the rows: new and changed files become jobs, rows
// whose file is gone are removed with their folder (kept when the folder
// could not be listed).
ScanPlan PlanScan(LibraryDb& db, const std::vector<std::string>& roots, const FolderWalk& walk) {
  std::unordered_map<std::string, LibraryDb::KnownFile> known;
  for (const std::string& root : roots) {
    for (LibraryDb::KnownFile& file : db.FilesUnder(root)) known.emplace(file.path, std::move(file));
  }
  ScanPlan plan;
  std::unordered_map<std::string, size_t> folderIndex;
  for (const WalkedFolder& folder : walk.folders) {
    FolderPlan fp{folder.path, plan.jobs.size(), plan.jobs.size(), {}, 0};
    for (const WalkedFile& file : folder.files) {
      const auto row = known.find(file.path);
      const bool same =
          row != known.end() && row->second.fileSize == file.fileSize && row->second.modifiedNs == file.modifiedNs;
      const bool isNew = row == known.end();
      if (!isNew) known.erase(row);
      if (same) {
        ++fp.unchanged;
      } else {
        plan.jobs.push_back(ReadJob{file.path, isNew, std::nullopt, {}});
      }
    }
    fp.endJob = plan.jobs.size();
    folderIndex.emplace(fp.path, plan.folders.size());
    plan.folders.push_back(std::move(fp));
  }
  // What is left of the rows vanished, unless its folder was not listed.
  std::vector<std::string> gone;
  for (const auto& [path, file] : known) {
    const bool hidden = std::any_of(walk.unlisted.begin(), walk.unlisted.end(),
                                    [&path = path](const std::string& f) { return IsInsideFolder(path, f); });
    if (!hidden) gone.push_back(path);
  }
  std::sort(gone.begin(), gone.end());
  for (const std::string& path : gone) {
    const std::string folder = ParentOf(path);
    auto it = folderIndex.find(folder);
    if (it == folderIndex.end()) {
      it = folderIndex.emplace(folder, plan.folders.size()).first;
      plan.folders.push_back(FolderPlan{folder, plan.jobs.size(), plan.jobs.size(), {}, 0});
    }
    plan.folders[it->second].vanished.push_back(path);
  }
  return plan;
}

enum class FolderOutcome : uint8_t { kWritten, kFailed, kCancelled };

// One song folder's transaction, fed as its charts are read, a chunk at a
// time so that even a folder of 100,000 charts is never held in memory
// whole. The report counts it only once it is committed.
FolderOutcome WriteFolder(LibraryDb& db, const FolderPlan& folder, std::vector<ReadJob>& jobs, ReadQueue& queue,
                          const std::atomic<bool>* cancel, ScanReport& report) {
  if (folder.firstJob == folder.endJob && folder.vanished.empty()) {
    report.unchanged += folder.unchanged;
    return FolderOutcome::kWritten;
  }
  std::optional<LibraryDb::ChartWriter> writer;
  int64_t added = 0;
  int64_t updated = 0;
  int64_t removed = 0;
  for (size_t next = folder.firstJob; next < folder.endJob;) {
    const size_t chunkEnd = std::min(next + std::max<size_t>(queue.readAhead(), 1), folder.endJob);
    if ((cancel != nullptr && cancel->load()) || !queue.WaitFor(chunkEnd)) return FolderOutcome::kCancelled;
    if (!writer) writer.emplace(db);  // the write lock only once there is something to write
    for (; next < chunkEnd; ++next) {
      ReadJob& job = jobs[next];
      if (job.entry) {
        writer->Put(*job.entry);
        ++(job.isNew ? added : updated);
        job.entry.reset();
        continue;
      }
      report.skipped.push_back(std::string(kSkipUnreadableChart) + job.path + " (" + job.error + ")");
      // A chart gone while it was read goes with its row.
      if (job.error == kFactsMissing && !job.isNew) {
        writer->Remove(job.path);
        ++removed;
      }
    }
  }
  if (cancel != nullptr && cancel->load()) return FolderOutcome::kCancelled;
  if (!writer) writer.emplace(db);
  for (const std::string& path : folder.vanished) writer->Remove(path);
  if (!writer->Commit()) return FolderOutcome::kFailed;
  report.added += added;
  report.updated += updated;
  report.removed += removed + static_cast<int64_t>(folder.vanished.size());
  report.unchanged += folder.unchanged;
  return FolderOutcome::kWritten;
}

// Roots as the walk and the rows name them: no trailing "/".
std::vector<std::string> Normalized(std::vector<std::string> roots) {
  for (std::string& root : roots) root = WithoutTrailingSlash(root);
  return roots;
}

ScanReport RunScan(LibraryDb& db, const std::vector<std::string>& givenRoots, const ScanOptions& options,
                   const std::function<void(const ScanProgress&)>& onProgress, const std::atomic<bool>* cancel) {
  const std::vector<std::string> roots = Normalized(givenRoots);
  const FolderWalk walk = WalkFolders(roots);
  ScanPlan plan = PlanScan(db, roots, walk);
  ScanReport report;
  report.skipped = walk.skipped;

  const size_t cores = std::max(1U, std::thread::hardware_concurrency());
  const size_t wanted = options.threads > 0 ? static_cast<size_t>(options.threads) : cores;
  const size_t threads = std::min(wanted, std::max<size_t>(plan.jobs.size(), 1));
  ReadQueue queue(plan.jobs, static_cast<size_t>(std::max(options.readAhead, 0)), cancel);
  std::vector<std::thread> workers;
  if (!plan.jobs.empty()) {
    for (size_t t = 0; t < threads; ++t) workers.emplace_back([&queue] { queue.Work(); });
  }

  ScanProgress progress;
  progress.foldersTotal = static_cast<int64_t>(plan.folders.size());
  for (FolderPlan& folder : plan.folders) {
    const FolderOutcome outcome = WriteFolder(db, folder, plan.jobs, queue, cancel, report);
    if (outcome == FolderOutcome::kCancelled) {
      report.cancelled = true;
      break;
    }
    if (outcome == FolderOutcome::kFailed) report.skipped.push_back(std::string(kSkipUnwritableFolder) + folder.path);
    ++progress.foldersDone;
    progress.chartsRead = report.added + report.updated;
    progress.folder = folder.path;
    if (onProgress) onProgress(progress);
  }
  queue.Stop();
  for (std::thread& worker : workers) worker.join();
  return report;
}

}  // namespace

ScanReport ScanLibrary(LibraryDb& db, const ScanOptions& options,
                       const std::function<void(const ScanProgress&)>& onProgress, const std::atomic<bool>* cancel) {
  return RunScan(db, db.Roots(), options, onProgress, cancel);
}

ScanReport ScanLibraryRoot(LibraryDb& db, const std::string& root, const ScanOptions& options,
                           const std::function<void(const ScanProgress&)>& onProgress,
                           const std::atomic<bool>* cancel) {
  return RunScan(db, {root}, options, onProgress, cancel);
}

}  // namespace vremo
