// Counting media loads and reporting them now and then.
#include "shell/load_progress.h"

namespace vremo {

SoundLoadResult LoadProgress::LoadSound(int slot, const std::string& path) {
  const SoundLoadResult result = media_.LoadSound(slot, path);
  ++counts_.sounds;
  Tick();
  return result;
}

PictureLoadResult LoadProgress::LoadPicture(int slot, const std::string& path, bool measure) {
  const PictureLoadResult result = media_.LoadPicture(slot, path, measure);
  ++counts_.pictures;
  Tick();
  return result;
}

void LoadProgress::Tick() {
  const auto now = std::chrono::steady_clock::now();
  if (reported_ && now - lastReport_ < interval_) return;
  reported_ = true;
  lastReport_ = now;
  if (report_) report_(counts_);
}

}  // namespace vremo
