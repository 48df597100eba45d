#pragma once
// Decoding a chart's media ahead of its load, on worker threads. The UI thread
// lists the chart's media lines (chart/media_list.h) and hands them here; each
// distinct file is resolved once on the calling thread and decoded once by
// one of `threads` workers, however many slots name it. While the workers run
// the caller may process its events and read the progress; Cancel stops them
// at their next file. Once Finished, the sound bank and the picture slots take
// their files from here instead of decoding them (MediaLayer::SetPrefetch), so
// the reader still runs in file order and logs as always.
//
// Constructed, polled, cancelled and destroyed on one thread (the UI thread);
// the destructor cancels and joins, so no worker outlives the object.

#include <QImage>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "chart/chart.h"
#include "chart/load_context.h"
#include "chart/media_list.h"
#include "display/sound_data.h"

namespace vremo {

// LoadThreads = 0: one worker per core.
inline constexpr int kThreadPerCore = 0;
// How often a waiting load hands its progress to the caller.
inline constexpr int kPrefetchPollMs = 20;

class MediaLayer;

struct PrefetchedPicture {
  std::optional<QImage> image;  // empty: the file could not be read
};

class MediaPrefetch {
 public:
  MediaPrefetch(const std::vector<MediaLine>& lines, int threads);
  ~MediaPrefetch();
  MediaPrefetch(const MediaPrefetch&) = delete;
  MediaPrefetch& operator=(const MediaPrefetch&) = delete;

  // Waits until every file is decoded or `timeout` has passed; true when all
  // are done.
  bool WaitFor(std::chrono::milliseconds timeout);
  // Workers finish the file in hand and end; returns once all have ended.
  void Cancel();

  struct Progress {
    int done = 0;         // files decoded (or found unreadable)
    int total = 0;        // distinct files
    std::string current;  // the file last started, as resolved
  };
  Progress progress() const;
  // Decoder runs so far: one per distinct file.
  int decodes() const { return decodes_.load(); }
  int workers() const { return static_cast<int>(workers_.size()); }

  // nullptr until WaitFor said true, and for a file that was not among the
  // files (the caller decodes it itself); otherwise what decoding it gave, which
  // for a sound may be nullptr (unreadable).
  const std::shared_ptr<const SoundData>* Sound(const std::string& resolved) const;
  const PrefetchedPicture* Picture(const std::string& resolved) const;

 private:
  struct Job {
    MediaKind kind = MediaKind::kSound;
    std::string file;
    std::shared_ptr<const SoundData> sound;
    PrefetchedPicture picture;
  };
  void Work();
  void Join();

  std::vector<Job> jobs_;
  std::unordered_map<std::string, size_t> sounds_;    // resolved file -> job
  std::unordered_map<std::string, size_t> pictures_;  // resolved file -> job
  std::atomic<size_t> next_{0};
  std::atomic<int> current_{-1};
  std::atomic<int> decodes_{0};
  std::atomic<bool> cancelled_{false};
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  int done_ = 0;           // guarded by mutex_
  bool complete_ = false;  // every file decoded and the workers joined
  std::vector<std::thread> workers_;
};

// A chart load with its media decoded ahead: lists the chart's media, decodes
// them on `threads` workers into `layer`'s reach, then runs LoadChart, whose
// log and results are those of a load without it. `waiting` (may be empty) is
// called about every kPrefetchPollMs while the workers run; when it returns
// false the load is cancelled: the workers end, the chart and the layer are
// left as they were, and the log says so.
struct AheadLoad {
  std::optional<int32_t> result;  // LoadChart's; empty when cancelled
  MediaPrefetch::Progress progress;
  int decodes = 0;
};
using LoadWaiting = std::function<bool(const MediaPrefetch::Progress&)>;
AheadLoad LoadChartAhead(const std::string& path, Chart& chart, LoadContext& context, MediaLayer& layer, int threads,
                         const LoadWaiting& waiting);

}  // namespace vremo
