#pragma once
// A decoded sound: stereo float frames at the file's own sample rate. Made once
// by the decoder (on a load's worker thread or the UI thread), then immutable
// and shared: the sound bank
// owns it, the mixer reads it (on the audio thread) through a plain pointer
// that the sound output keeps alive until the mixer has let go (sound_output.h).

#include <cstdint>
#include <vector>

namespace vremo {

inline constexpr int kSoundChannels = 2;  // every decoded sound is stereo
// Bytes one frame counts for in play cursors and lengths: decoded data is
// reported as 16-bit stereo, whatever the file's own format was.
inline constexpr int kSoundBytesPerFrame = 4;
// The rates a sound may have, and be played at, in Hz.
inline constexpr int32_t kMinSoundSampleRate = 100;  // DirectSound's lowest frequency
inline constexpr int32_t kMaxSoundSampleRate = 1000000;

struct SoundData {
  // Interleaved left/right, `frames` + 1 frames: one silent guard frame at the
  // end lets the resampler read the frame after the last without a test.
  std::vector<float> samples;
  int64_t frames = 0;
  int32_t sampleRate = 0;    // the file's sample rate in Hz
  int32_t fileChannels = 0;  // channels in the file (mono is duplicated)
};

}  // namespace vremo
