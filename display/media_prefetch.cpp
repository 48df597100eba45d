// Worker threads that decode a chart's media files before its load.
#include "display/media_prefetch.h"

#include <algorithm>

#include "chart/bms_reader.h"
#include "display/media_layer.h"
#include "display/picture_file.h"
#include "display/sound_decoder.h"

namespace vremo {

MediaPrefetch::MediaPrefetch(const std::vector<MediaLine>& lines, int threads) {
  MediaFolderIndex folders;
  for (const MediaLine& line : lines) {
    const std::optional<std::string> resolved = folders.Resolve(line.path, line.kind);
    if (!resolved) continue;
    auto& index = line.kind == MediaKind::kSound ? sounds_ : pictures_;
    if (!index.emplace(*resolved, jobs_.size()).second) continue;
    jobs_.push_back(Job{line.kind, *resolved, nullptr, {}});
  }
  const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  const int wanted = std::min(threads > 0 ? threads : cores, static_cast<int>(jobs_.size()));
  for (int i = 0; i < wanted; ++i) workers_.emplace_back([this] { Work(); });
}

MediaPrefetch::~MediaPrefetch() { Cancel(); }

// Each job is claimed by exactly one worker and written only by it; the
// mutex then publishes it with the count.
void MediaPrefetch::Work() {
  while (!cancelled_.load()) {
    const size_t index = next_.fetch_add(1);
    if (index >= jobs_.size()) return;
    current_.store(static_cast<int>(index));
    Job& job = jobs_[index];
    decodes_.fetch_add(1);
    if (job.kind == MediaKind::kSound) {
      job.sound = DecodeSoundFile(job.file);
    } else {
      job.picture.image = ReadPictureFile(job.file);
    }
    {
      std::lock_guard lock(mutex_);
      ++done_;
    }
    changed_.notify_all();
  }
}

bool MediaPrefetch::WaitFor(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  const bool all = changed_.wait_for(lock, timeout, [this] { return done_ == static_cast<int>(jobs_.size()); });
  lock.unlock();
  if (all) {
    Join();
    complete_ = true;
  }
  return all;
}

void MediaPrefetch::Cancel() {
  cancelled_.store(true);
  Join();
}

void MediaPrefetch::Join() {
  for (std::thread& worker : workers_) {
    if (worker.joinable()) worker.join();
  }
}

MediaPrefetch::Progress MediaPrefetch::progress() const {
  Progress progress;
  progress.total = static_cast<int>(jobs_.size());
  {
    std::lock_guard lock(mutex_);
    progress.done = done_;
  }
  const int current = current_.load();
  if (current >= 0) progress.current = jobs_[static_cast<size_t>(current)].file;
  return progress;
}

const std::shared_ptr<const SoundData>* MediaPrefetch::Sound(const std::string& resolved) const {
  const auto found = sounds_.find(resolved);
  return !complete_ || found == sounds_.end() ? nullptr : &jobs_[found->second].sound;
}

const PrefetchedPicture* MediaPrefetch::Picture(const std::string& resolved) const {
  const auto found = pictures_.find(resolved);
  return !complete_ || found == pictures_.end() ? nullptr : &jobs_[found->second].picture;
}

AheadLoad LoadChartAhead(const std::string& path, Chart& chart, LoadContext& context, MediaLayer& layer, int threads,
                         const LoadWaiting& waiting) {
  AheadLoad load;
  MediaPrefetch prefetch(ListChartMedia(path, context.options), threads);
  // The caller hears once more after the last file, so a stop that came in
  // meanwhile is not lost.
  for (bool done = prefetch.progress().total == 0; !done;) {
    done = prefetch.WaitFor(std::chrono::milliseconds(kPrefetchPollMs));
    if (waiting && !waiting(prefetch.progress())) {
      prefetch.Cancel();
      load.progress = prefetch.progress();
      load.decodes = prefetch.decodes();
      context.log.PutLog("  load cancelled: " + std::to_string(load.progress.done) + "/" +
                         std::to_string(load.progress.total) + " files decoded");
      return load;
    }
  }
  load.progress = prefetch.progress();
  load.decodes = prefetch.decodes();
  layer.SetPrefetch(&prefetch);
  load.result = LoadChart(path, chart, context);
  layer.SetPrefetch(nullptr);
  return load;
}

}  // namespace vremo
