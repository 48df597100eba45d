#pragma once
// Helpers for the media-layer tests: a temporary folder, test signals and
// real sound files written with libsndfile.

#include <sndfile.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace vremo::test {

class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vremo_display_XXXXXX").string();
    path_ = ::mkdtemp(pattern.data());
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

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

inline std::vector<char> ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void WriteBytes(const std::string& path, const std::vector<char>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace vremo::test
