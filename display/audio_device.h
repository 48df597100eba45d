#pragma once
// The live sound output: SDL2's audio subsystem (no video) opened for float
// stereo, its callback running a Mixer on SDL's audio thread. This is the
// DirectSound object of the original ("InitDirectSound").
//
// The UI thread sends voice commands through a lock-free single-producer
// single-consumer ring; the audio thread publishes each slot's play cursor
// through atomics. Sounds handed to the mixer are kept alive here until the
// audio thread has consumed the command that let go of them, then freed on
// the UI thread. When no device could be opened every call is accepted and
// nothing sounds (cursors stay 0); a device lost in play is logged ("Err:DirectSound
// device lost") at the next command and closed. All public methods: UI thread only.

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "chart/debug_log.h"
#include "display/mixer.h"
#include "display/sound_output.h"
#include "display/spsc_ring.h"
#include "play/settings.h"

namespace vremo {

inline constexpr int32_t kDeviceSampleRate = 48000;  // asked for; the device may choose another
inline constexpr int32_t kDeviceBlockFrames = kDefaultAudioBufferFrames;
inline constexpr size_t kCommandRingSize = 4096;

// The block the device is asked for: `wanted` brought into the offered
// range and to the nearest power of two (what sound servers take as is).
int32_t AudioBlockFramesFor(int32_t wanted);

class AudioDevice : public SoundOutput {
 public:
  AudioDevice() = default;
  ~AudioDevice() override;
  AudioDevice(const AudioDevice&) = delete;
  AudioDevice& operator=(const AudioDevice&) = delete;

  // InitDirectSound: logs "initializing directsound...", opens the default
  // device with a block of AudioBlockFramesFor(wantedFrames) and starts it,
  // then logs its name, rate, the block it granted and the delay from a
  // voice command to the device (block plus the mixer's look-ahead); when
  // SDL cannot open one, logs "Err:DirectSound Initializing" and returns
  // false (the program goes on silently). Opening again closes the old
  // device first.
  bool Open(DebugLog& log, int32_t wantedRate = kDeviceSampleRate, int32_t wantedFrames = kDeviceBlockFrames);
  // Stops the device and lets go of every sound (also done by the destructor).
  void Close();
  bool IsOpen() const { return device_ != 0; }
  int32_t sampleRate() const { return sampleRate_; }
  int32_t blockFrames() const { return blockFrames_; }
  int32_t requestedFrames() const { return requestedFrames_; }  // the block the last Open asked for
  const std::string& deviceName() const { return deviceName_; }

  // SoundOutput. `atMs` is ignored: a live voice starts at once.
  void StartVoice(int slot, std::shared_ptr<const SoundData> sound, int32_t rate, double atMs) override;
  void StopVoice(int slot) override;
  void RewindVoice(int slot) override;
  void SetVoiceRate(int slot, int32_t rate) override;
  void StopAllVoices() override;
  void SetMasterVolume(float gain) override;
  void SetVoiceCount(int count) override;
  int64_t VoiceCursorFrames(int slot) const override;

 private:
  static void Callback(void* self, uint8_t* stream, int bytes);  // audio thread
  void RenderBlock(float* out, int frames);                      // audio thread
  // Queues a command (dropped when the device is closed or the ring is full).
  bool Send(const MixerCommand& command);
  // Keeps `sound` until the audio thread has consumed everything sent so far.
  void Retire(std::shared_ptr<const SoundData> sound);
  void FreeRetired();

  uint32_t device_ = 0;  // SDL_AudioDeviceID; 0 = none open
  int32_t sampleRate_ = 0;
  int32_t blockFrames_ = 0;
  int32_t requestedFrames_ = 0;
  std::string deviceName_;
  DebugLog* log_ = nullptr;  // Open's log, for a device lost later
  float masterVolume_ = 1.0f;
  int voiceCount_ = kMixerVoices;  // both kept for a device opened again
  std::unique_ptr<Mixer> mixer_;   // touched by the audio thread while open
  SpscRing<MixerCommand, kCommandRingSize> commands_;
  std::array<std::atomic<int64_t>, kMaxMixerVoices> cursors_{};
  int publishedCursors_ = 0;  // cursors the callback last wrote (audio thread)
  // UI-thread side of the sounds' lifetime.
  std::array<std::shared_ptr<const SoundData>, kMaxMixerVoices> held_{};
  std::vector<std::pair<uint64_t, std::shared_ptr<const SoundData>>> retired_;
};

}  // namespace vremo
