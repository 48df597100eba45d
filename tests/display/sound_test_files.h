#pragma once
// Helpers for the sound tests: test signals and real sound files written with
// libsndfile into a TempFolder.

#include <sndfile.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"

namespace vremo::test {

using testing::TempFolder;

// `frames` interleaved frames of `channels` channels: channel c is a sine of
// `hz` x (c + 1) at amplitude `amplitude`.
inline std::vector<float> Sine(int64_t frames, int channels, int32_t rate, double hz, double amplitude = 0.5) {
  std::vector<float> out(static_cast<size_t>(frames * channels));
  for (int64_t i = 0; i < frames; ++i) {
    for (int c = 0; c < channels; ++c) {
      out[i * channels + c] = static_cast<float>(amplitude * std::sin(2.0 * M_PI * hz * (c + 1) * i / rate));
    }
  }
  return out;
}

// A constant level: easy to find where a play starts and ends.
inline std::vector<float> Level(int64_t frames, int channels, float value) {
  return std::vector<float>(static_cast<size_t>(frames * channels), value);
}

// Writes `samples` (interleaved) with libsndfile; false when the library
// refuses the format.
inline bool WriteSound(const std::string& path, int format, int32_t rate, int channels,
                       const std::vector<float>& samples) {
  SF_INFO info{};
  info.samplerate = rate;
  info.channels = channels;
  info.format = format;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (!file) return false;
  const sf_count_t frames = static_cast<sf_count_t>(samples.size() / channels);
  const bool ok = sf_writef_float(file, samples.data(), frames) == frames;
  sf_close(file);
  return ok;
}

}  // namespace vremo::test
