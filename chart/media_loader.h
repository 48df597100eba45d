#pragma once
// What the chart reader asks of the media layer while it reads a chart:
// surface set-up, the free video-memory figure, and one call per #WAVxx and
// #BMPxx line, in file order. The sound bank and the picture slots of the
// display module implement it; NullMediaLoader stands in where no media are
// loaded (tool modes, tests). UI thread only.

#include <cstdint>
#include <string>

namespace vremo {

struct SoundLoadResult {
  bool loaded = false;
  int32_t baseFrequency = 0;  // the decoded sound's sample rate
  float sizeBytes = 0.0f;     // length of the decoded data in bytes
};

struct PictureLoadResult {
  bool loaded = false;
  // The measured size; only pictures that are not BMP files are measured.
  int32_t width = 0;
  int32_t height = 0;
};

class MediaLoader {
 public:
  virtual ~MediaLoader() = default;
  // Called once per load, after the chart is cleared.
  virtual void PrepareSurfaces() = 0;
  // How many slots the chart may name: kMediaSlots ("00"-"FF") for the
  // classic reading, kMaxMediaSlots for base-36 names. Called before
  // PrepareSurfaces.
  virtual void SetSlotCount(int) {}
  virtual int64_t FreeVideoMemory() = 0;
  // Replaces the slot's sound with the file's (the name may need resolving,
  // see media_path.h). A failed load changes nothing: a sound the slot held
  // earlier in the same chart stays.
  virtual SoundLoadResult LoadSound(int slot, const std::string& path) = 0;
  virtual void SetSoundFrequency(int slot, int32_t frequency) = 0;
  // measure = false for a name ending in BMP: the size is not measured.
  virtual PictureLoadResult LoadPicture(int slot, const std::string& path, bool measure) = 0;
};

class NullMediaLoader : public MediaLoader {
 public:
  void PrepareSurfaces() override {}
  int64_t FreeVideoMemory() override { return 0; }
  SoundLoadResult LoadSound(int, const std::string&) override { return {}; }
  void SetSoundFrequency(int, int32_t) override {}
  PictureLoadResult LoadPicture(int, const std::string&, bool) override { return {}; }
};

}  // namespace vremo
