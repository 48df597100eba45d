// The sound slots' bookkeeping on the UI thread; the voices live in the mixer.
#include "display/sound_bank.h"

#include <sys/stat.h>

#include <algorithm>
#include <limits>
#include <set>

#include "display/media_prefetch.h"
#include "display/sound_decoder.h"

namespace vremo {
namespace {

int32_t BytesOf(int64_t frames) {
  return static_cast<int32_t>(std::min<int64_t>(frames * kSoundBytesPerFrame, std::numeric_limits<int32_t>::max()));
}

constexpr int kBytesPerMegabyte = 1 << 20;

}  // namespace

MixerSoundBank::~MixerSoundBank() { output_.StopAllVoices(); }

void MixerSoundBank::BeginLoad() {
  folders_.Clear();
  decoded_.clear();
}

int64_t MixerSoundBank::HeldBytesExcept(int slot) const {
  std::set<const SoundData*> counted;
  int64_t bytes = 0;
  for (int other = 0; other < slotCount_; ++other) {
    const SoundData* sound = slots_[other].sound.get();
    if (other != slot && sound != nullptr && counted.insert(sound).second) bytes += DecodedBytes(sound->frames);
  }
  return bytes;
}

// The file's sound, decoded once per load; `slot` is about to let go of its
// own sound, which therefore does not count against the limit.
std::shared_ptr<const SoundData> MixerSoundBank::Decode(const std::string& file, int slot) {
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0) return nullptr;
  const FileKey key{status.st_dev, status.st_ino, status.st_size,
                    int64_t{status.st_mtim.tv_sec} * 1000000000 + status.st_mtim.tv_nsec};
  if (auto shared = decoded_[key].lock()) return shared;
  const int64_t budget = limit_ - HeldBytesExcept(slot);
  DecodeStatus outcome = DecodeStatus::kFailed;
  std::shared_ptr<const SoundData> sound;
  const std::shared_ptr<const SoundData>* ahead = prefetch_ != nullptr ? prefetch_->Sound(file) : nullptr;
  if (ahead == nullptr) {
    sound = DecodeSoundFile(file, nullptr, budget, &outcome);
  } else if (*ahead && !FitsBudget((*ahead)->frames, budget)) {
    outcome = DecodeStatus::kOverBudget;
  } else {
    sound = *ahead;
  }
  if (outcome == DecodeStatus::kOverBudget && log_ != nullptr) {
    log_->PutLog("  Err: decoded sounds would pass " + std::to_string(limit_ / kBytesPerMegabyte) +
                 "MB, not loaded: " + file);
  }
  if (sound) decoded_[key] = sound;
  return sound;
}

SoundLoadResult MixerSoundBank::LoadSound(int slot, const std::string& path) {
  if (!Valid(slot)) return {};
  const auto resolved = folders_.Resolve(path, MediaKind::kSound);
  if (!resolved) return {};
  auto sound = Decode(*resolved, slot);
  if (!sound) return {};
  Slot& entry = slots_[slot];
  if (entry.sound) output_.StopVoice(slot);
  entry.sound = std::move(sound);
  entry.frequency = entry.sound->sampleRate;
  return {.loaded = true,
          .baseFrequency = entry.sound->sampleRate,
          .sizeBytes = static_cast<float>(BytesOf(entry.sound->frames))};
}

void MixerSoundBank::ReleaseSounds() {
  output_.StopAllVoices();
  for (Slot& entry : slots_) entry = Slot{};
  decoded_.clear();
}

void MixerSoundBank::SetSlotCount(int count) {
  const int wanted = std::clamp(count, kMixerVoices, kMaxMixerVoices);
  if (wanted == slotCount_) return;
  for (int slot = wanted; slot < slotCount_; ++slot) {
    if (slots_[slot].sound) output_.StopVoice(slot);
    slots_[slot] = Slot{};
  }
  slotCount_ = wanted;
  output_.SetVoiceCount(wanted);
}

const SoundData* MixerSoundBank::Sound(int slot) const { return Valid(slot) ? slots_[slot].sound.get() : nullptr; }

bool MixerSoundBank::HasSound(int slot) const { return Sound(slot) != nullptr; }

void MixerSoundBank::Restart(int slot, double atMs) {
  if (!HasSound(slot)) return;
  output_.StartVoice(slot, slots_[slot].sound, slots_[slot].frequency, atMs);
}

void MixerSoundBank::Stop(int slot) {
  if (HasSound(slot)) output_.StopVoice(slot);
}

void MixerSoundBank::Rewind(int slot) {
  if (HasSound(slot)) output_.RewindVoice(slot);
}

// Like DirectSound, a frequency out of range is refused and the old one kept.
void MixerSoundBank::SetFrequency(int slot, int32_t frequency) {
  if (!HasSound(slot) || frequency < kMinSoundSampleRate || frequency > kMaxSoundSampleRate) return;
  slots_[slot].frequency = frequency;
  output_.SetVoiceRate(slot, frequency);
}

int32_t MixerSoundBank::BaseFrequency(int slot) const { return HasSound(slot) ? slots_[slot].sound->sampleRate : 0; }

int32_t MixerSoundBank::PlayCursor(int slot) const {
  if (!HasSound(slot)) return 0;
  return std::min(BytesOf(output_.VoiceCursorFrames(slot)), LengthBytes(slot));
}

int32_t MixerSoundBank::LengthBytes(int slot) const { return HasSound(slot) ? BytesOf(slots_[slot].sound->frames) : 0; }

}  // namespace vremo
