#pragma once
// The chart reader hands each media line to the media layer in file order.
// LoadProgress stands between the chart reader and the media layer, counts
// the sounds and pictures as they load and, at most every
// kLoadProgressIntervalMs (and for the first file), hands the counts to the
// window, which repaints its progress text at once. The reader runs without
// processing events (the media it asks for were decoded before, while the
// window answered; see MainWindow::LoadWithEvents), so nothing can start a
// second read meanwhile. UI thread only.

#include <chrono>
#include <functional>
#include <string>

#include "chart/media_loader.h"

namespace vremo {

inline constexpr int kLoadProgressIntervalMs = 50;

struct LoadCounts {
  int sounds = 0;    // #WAV lines read so far
  int pictures = 0;  // #BMP lines read so far
};

class LoadProgress : public MediaLoader {
 public:
  LoadProgress(MediaLoader& media, std::function<void(const LoadCounts&)> report,
               std::chrono::milliseconds interval = std::chrono::milliseconds(kLoadProgressIntervalMs))
      : media_(media), report_(std::move(report)), interval_(interval) {}

  void PrepareSurfaces() override { media_.PrepareSurfaces(); }
  void SetSlotCount(int count) override { media_.SetSlotCount(count); }
  int64_t FreeVideoMemory() override { return media_.FreeVideoMemory(); }
  SoundLoadResult LoadSound(int slot, const std::string& path) override;
  void SetSoundFrequency(int slot, int32_t frequency) override { media_.SetSoundFrequency(slot, frequency); }
  PictureLoadResult LoadPicture(int slot, const std::string& path, bool measure) override;

  const LoadCounts& counts() const { return counts_; }

 private:
  void Tick();

  MediaLoader& media_;
  std::function<void(const LoadCounts&)> report_;
  std::chrono::milliseconds interval_;
  LoadCounts counts_;
  bool reported_ = false;
  std::chrono::steady_clock::time_point lastReport_{};
};

}  // namespace vremo
