// The sound slots' bookkeeping on the UI thread; the voices live in the mixer.
#include "display/sound_bank.h"

#include <algorithm>
#include <limits>

#include "chart/media_path.h"
#include "display/sound_decoder.h"

namespace vremo {
namespace {

int32_t BytesOf(int64_t frames) {
  return static_cast<int32_t>(std::min<int64_t>(frames * kSoundBytesPerFrame, std::numeric_limits<int32_t>::max()));
}

}  // namespace

MixerSoundBank::~MixerSoundBank() { output_.StopAllVoices(); }

SoundLoadResult MixerSoundBank::LoadSound(int slot, const std::string& path) {
  if (!Valid(slot)) return {};
  const auto resolved = ResolveMediaPath(path, MediaKind::kSound);
  if (!resolved) return {};
  auto sound = DecodeSoundFile(*resolved);
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
