#pragma once
// Where the sound bank sends its voices: the live audio device (audio_device.h)
// or the offline renderer (offline_renderer.h). Both run the same Mixer; this
// interface hides whether it runs on an audio thread or on the caller's.
//
// A sound passed to StartVoice stays alive (the output holds a reference) as
// long as the mixer may read it, so the bank may drop or replace its own
// reference at any time. UI thread only.

#include <cstdint>
#include <memory>

#include "display/sound_data.h"

namespace vremo {

class SoundOutput {
 public:
  virtual ~SoundOutput() = default;

  // Plays `sound` once on `slot` from its start at `rate` Hz. `atMs` is the
  // play clock's time the sound belongs to: the offline renderer starts it at
  // exactly that sample, the live device at once.
  virtual void StartVoice(int slot, std::shared_ptr<const SoundData> sound, int32_t rate, double atMs) = 0;
  virtual void StopVoice(int slot) = 0;  // silences and rewinds
  virtual void RewindVoice(int slot) = 0;
  virtual void SetVoiceRate(int slot, int32_t rate) = 0;
  virtual void StopAllVoices() = 0;  // and lets go of every sound
  virtual void SetMasterVolume(float gain) = 0;
  // How many voices the slots use (kMixerVoices, or up to kMaxMixerVoices
  // for base-36 slots); voices past the count stop.
  virtual void SetVoiceCount(int count) = 0;
  // Frames of its sound the slot has played; 0 when it is not sounding.
  virtual int64_t VoiceCursorFrames(int slot) const = 0;
};

}  // namespace vremo
