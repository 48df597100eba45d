#pragma once
// The sound slots: 256 decoded sounds, one mixer voice each. Implements the
// play engine's SoundBank (play/sound_bank.h) and the sound half of the chart
// reader's MediaLoader (LoadSound, SetSoundFrequency; a composite MediaLoader
// delegates to it, or SoundOnlyMediaLoader in tool modes). Voices go to a
// SoundOutput: the live audio device, or the offline renderer, which must
// outlive the bank.
//
// Sizes and cursors are counted in bytes of the decoded data taken as 16-bit
// stereo (kSoundBytesPerFrame = 4 bytes a frame), whatever the file's format,
// so cursor / length is the fraction played.
//
// A file named by several slots of one load is decoded once and shared (each
// slot still plays as a voice of its own); the decoded sounds the slots hold
// stay under a limit, and a sound that would pass it is left out with a log
// line. UI thread only.

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>

#include "chart/debug_log.h"
#include "chart/media_loader.h"
#include "chart/media_path.h"
#include "display/mixer.h"
#include "display/sound_data.h"
#include "display/sound_output.h"
#include "play/sound_bank.h"

namespace vremo {

class MediaPrefetch;

// What the slots' decoded sounds may take in all: four times the media of
// the largest real song.
inline constexpr int64_t kDecodedSoundLimit = int64_t{4} << 30;

class MixerSoundBank : public SoundBank {
 public:
  // `log` (may be null) receives the line for a sound left out over `limit`.
  explicit MixerSoundBank(SoundOutput& output, DebugLog* log = nullptr, int64_t limit = kDecodedSoundLimit)
      : output_(output), log_(log), limit_(limit) {}
  ~MixerSoundBank() override;

  void SetLog(DebugLog* log) { log_ = log; }
  // Files decoded ahead of the load are taken from `prefetch` (may be null),
  // which must outlive its use here.
  void SetPrefetch(const MediaPrefetch* prefetch) { prefetch_ = prefetch; }
  // A new chart load: folders are listed again and files decoded anew.
  void BeginLoad();

  // Loading a sound slot: resolves `path` (MediaFolderIndex, kSound) and
  // decodes it, or shares the sound another slot decoded from the same file
  // in this load. On success the slot's sound is replaced (its voice
  // stopped), its frequency reset to the file's rate, and the result carries
  // that rate and the length in bytes. On failure (missing, unreadable,
  // damaged file, or over the limit) the slot is left as it was and `loaded`
  // is false.
  SoundLoadResult LoadSound(int slot, const std::string& path);
  // Playback frequency in Hz for the slot's later and current plays.
  void SetSoundFrequency(int slot, int32_t frequency) { SetFrequency(slot, frequency); }
  // Stops every voice and empties all 256 slots.
  void ReleaseSounds();
  // The slots a chart may name: kMixerVoices ("00"-"FF"), or up to
  // kMaxMixerVoices for base-36 names. Slots past the count are emptied.
  void SetSlotCount(int count);
  void SetMasterVolume(float gain) { output_.SetMasterVolume(gain); }
  // The slot's decoded sound, or nullptr.
  const SoundData* Sound(int slot) const;
  // Memory of the distinct decoded sounds the slots hold.
  int64_t DecodedBytesHeld() const { return HeldBytesExcept(-1); }

  // SoundBank (play engine). Calls on an empty or invalid slot do nothing.
  bool HasSound(int slot) const override;
  void Restart(int slot, double atMs) override;
  void Stop(int slot) override;
  void Rewind(int slot) override;
  void SetFrequency(int slot, int32_t frequency) override;
  int32_t BaseFrequency(int slot) const override;
  int32_t PlayCursor(int slot) const override;
  int32_t LengthBytes(int slot) const override;

 private:
  struct Slot {
    std::shared_ptr<const SoundData> sound;
    int32_t frequency = 0;
  };
  // A file on disk as it is now: device, inode, size, modification time.
  using FileKey = std::tuple<uint64_t, uint64_t, int64_t, int64_t>;
  bool Valid(int slot) const { return slot >= 0 && slot < slotCount_; }
  std::shared_ptr<const SoundData> Decode(const std::string& file, int slot);
  int64_t HeldBytesExcept(int slot) const;

  SoundOutput& output_;
  DebugLog* log_;
  int64_t limit_;
  std::array<Slot, kMaxMixerVoices> slots_{};
  int slotCount_ = kMixerVoices;
  MediaFolderIndex folders_;
  std::map<FileKey, std::weak_ptr<const SoundData>> decoded_;  // this load's files
  const MediaPrefetch* prefetch_ = nullptr;
};

// A MediaLoader that loads sounds into a MixerSoundBank and no pictures, for
// tool modes that play or render a chart without a window.
class SoundOnlyMediaLoader : public MediaLoader {
 public:
  explicit SoundOnlyMediaLoader(MixerSoundBank& bank) : bank_(bank) {}
  void PrepareSurfaces() override { bank_.BeginLoad(); }
  void SetSlotCount(int count) override { bank_.SetSlotCount(count); }
  int64_t FreeVideoMemory() override { return 0; }
  SoundLoadResult LoadSound(int slot, const std::string& path) override { return bank_.LoadSound(slot, path); }
  void SetSoundFrequency(int slot, int32_t frequency) override { bank_.SetSoundFrequency(slot, frequency); }
  PictureLoadResult LoadPicture(int, const std::string&, bool) override { return {}; }

 private:
  MixerSoundBank& bank_;
};

}  // namespace vremo
