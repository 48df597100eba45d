#pragma once
// The mixer: one voice per sound slot (256), each playing a SoundData once at
// its own playback rate, summed to stereo float at the output rate with a
// fixed headroom, master volume and a look-ahead limiter: the output is
// delayed by latencyFrames() (1 ms) so the gain can glide down before a peak
// arrives; it never steps, and the output never leaves [-1, 1].
//
// Not thread-safe by itself: exactly one thread owns a Mixer. The live audio
// device owns one on its audio thread (commands reach it through a lock-free
// ring, see audio_device.h); the offline renderer owns one on the calling
// thread. Apply() and Render() never allocate, lock or log.

#include <array>
#include <cstdint>
#include <vector>

#include "display/sound_data.h"

namespace vremo {

inline constexpr int kMixerVoices = 256;         // one per WAV slot "00" to "FF"
inline constexpr int kMaxMixerVoices = 36 * 36;  // base-36 slots "00"-"ZZ" of the modern reading
inline constexpr int kMixerMaxBlock = 1024;      // frames mixed per internal pass
inline constexpr float kMixHeadroom = 0.5f;      // -6 dB before the limiter
inline constexpr float kLimiterCeiling = 0.98f;
inline constexpr double kLimiterLookaheadMs = 1.0;  // the gain falls to any depth within this
inline constexpr double kLimiterReleaseMs = 80.0;   // time constant of the gain's recovery

struct MixerCommand {
  enum class Kind : uint8_t {
    kStart,            // play `sound` on `slot` from frame `position` at `rate` Hz
    kStop,             // silence the slot and rewind it (drops its sound)
    kRewind,           // move the slot back to its first frame (keeps playing)
    kSetRate,          // playback rate of the slot in Hz
    kStopAll,          // kStop on every slot: afterwards no sound is referenced
    kSetMasterVolume,  // `rate` holds the gain (1 = unchanged)
    kSetVoiceCount,    // `slot` holds the count (kMixerVoices to kMaxMixerVoices); voices past it stop
  };
  Kind kind = Kind::kStop;
  int16_t slot = 0;
  const SoundData* sound = nullptr;
  double rate = 0.0;
  double position = 0.0;
};

class Mixer {
 public:
  explicit Mixer(int32_t outputRate);

  void Apply(const MixerCommand& command);
  // Writes `frames` interleaved stereo frames (overwriting `out`), advancing
  // every sounding voice; a voice that reaches its end stops. What a voice
  // plays from the next call on is heard latencyFrames() frames later.
  void Render(float* out, int64_t frames);
  int latencyFrames() const { return lookahead_; }
  int voiceCount() const { return voiceCount_; }

  // Frames of its sound the slot has played; 0 when it is not sounding.
  int64_t CursorFrames(int slot) const;
  bool IsSounding(int slot) const;
  int SoundingCount() const;
  int32_t outputRate() const { return outputRate_; }
  // The limiter's current gain (1 = not limiting); for tests.
  float limiterGain() const { return limiterGain_; }

 private:
  // Positions and steps are fixed-point, 32 bits of frame and 32 of
  // fraction: exact for whole-number rate ratios, cheap to split.
  struct Voice {
    const SoundData* sound = nullptr;
    uint64_t position = 0;  // in frames of the sound
    uint64_t step = 0;      // sound frames per output frame
    double rate = 0.0;      // playback rate in Hz; 0 = the sound's own rate
    bool sounding = false;
  };

  void SetRate(Voice& voice, double rate);
  void Silence(Voice& voice) { voice = Voice{.rate = voice.rate}; }
  void MixVoice(Voice& voice, float* mix, int frames);
  void ScaleNewFrames(float* mix, int frames);
  void LimitBlock(float* out, int frames);

  int32_t outputRate_;
  int lookahead_;  // frames of look-ahead (and of output delay)
  std::array<Voice, kMaxMixerVoices> voices_{};
  int voiceCount_ = kMixerVoices;
  // lookahead_ frames carried from the last block, then the new block's
  // frames: stereo mix (after headroom and volume), and per frame the gain
  // it needs, that gain held over the look-ahead, and a deque of indices.
  std::vector<float> mix_;
  std::vector<float> needed_;
  std::vector<float> held_;
  std::vector<int> window_;
  float masterVolume_ = 1.0f;
  float appliedVolume_ = 1.0f;  // ramps to masterVolume_ over a block
  float limiterGain_ = 1.0f;
  float releaseCoefficient_;
};

}  // namespace vremo
