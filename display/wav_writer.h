#pragma once
// Writing rendered sound as a 16-bit PCM stereo RIFF WAV file. The file is
// written under a temporary name in the same folder and renamed over the
// target, so a crash never leaves a half-written file. Any thread.

#include <cstdint>
#include <string>
#include <vector>

namespace vremo {

inline constexpr int kWavHeaderBytes = 44;

// The whole file's bytes: a 44-byte header ("RIFF", "WAVE", "fmt " chunk of 16
// bytes: PCM, 2 channels, `sampleRate`, 16 bits; "data" chunk) followed by the
// samples, clamped to [-1, 1], scaled by 32767 and rounded to nearest.
std::vector<uint8_t> EncodeWav16(const float* interleavedStereo, int64_t frames, int32_t sampleRate);

// Encodes and writes atomically; false (and no file at `path` touched) when
// the folder cannot be written or the data would exceed a RIFF file's 4 GiB.
bool WriteWavFile(const std::string& path, const float* interleavedStereo, int64_t frames, int32_t sampleRate);

}  // namespace vremo
