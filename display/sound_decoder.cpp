// Sound decoding: libsndfile reads the file; this file checks what it reports,
// converts the frames to stereo float and rejects damaged input.
#include "display/sound_decoder.h"

#include <sndfile.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

namespace vremo {
namespace {

constexpr sf_count_t kReadChunkFrames = 4096;

void SetError(std::string* error, std::string text) {
  if (error) *error = std::move(text);
}

uint32_t ReadLe32(const unsigned char* p) {
  return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

// libsndfile plays a WAV whose data chunk is cut short up to where it ends;
// such a file is damaged (a broken copy or download), so it is refused.
// True when the RIFF "data" chunk claims more bytes than the file holds.
bool WavDataCutShort(const std::string& path) {
  std::error_code ec;
  const auto fileSize = std::filesystem::file_size(path, ec);
  if (ec) return false;
  std::ifstream file(path, std::ios::binary);
  std::array<unsigned char, 12> riff{};
  if (!file.read(reinterpret_cast<char*>(riff.data()), riff.size())) return false;
  if (std::string_view(reinterpret_cast<char*>(riff.data()), 4) != "RIFF") return false;
  uint64_t offset = riff.size();
  std::array<unsigned char, 8> header{};
  while (offset + header.size() <= fileSize) {
    file.seekg(static_cast<std::streamoff>(offset));
    if (!file.read(reinterpret_cast<char*>(header.data()), header.size())) return false;
    const uint64_t size = ReadLe32(header.data() + 4);
    const uint64_t body = offset + header.size();
    if (std::string_view(reinterpret_cast<char*>(header.data()), 4) == "data") return body + size > fileSize;
    offset = body + size + (size & 1);  // chunks are padded to even sizes
  }
  return false;
}

bool IsWav(int format) {
  const int major = format & SF_FORMAT_TYPEMASK;
  return major == SF_FORMAT_WAV || major == SF_FORMAT_WAVEX;
}

float CleanSample(float value) {
  if (!std::isfinite(value)) return 0.0f;
  return std::clamp(value, -1.0f, 1.0f);
}

// Appends `count` frames of `channels` interleaved samples as stereo.
void AppendStereo(const std::vector<float>& in, sf_count_t count, int channels, std::vector<float>& out) {
  for (sf_count_t frame = 0; frame < count; ++frame) {
    const float* source = in.data() + frame * channels;
    const float left = CleanSample(source[0]);
    const float right = channels > 1 ? CleanSample(source[1]) : left;
    out.push_back(left);
    out.push_back(right);
  }
}

struct SndFileCloser {
  void operator()(SNDFILE* file) const { sf_close(file); }
};

}  // namespace

std::shared_ptr<const SoundData> DecodeSoundFile(const std::string& path, std::string* error) {
  SF_INFO info{};
  std::unique_ptr<SNDFILE, SndFileCloser> file(sf_open(path.c_str(), SFM_READ, &info));
  if (!file) {
    SetError(error, std::string("cannot read: ") + sf_strerror(nullptr));
    return nullptr;
  }
  if (info.samplerate < kMinSoundSampleRate || info.samplerate > kMaxSoundSampleRate) {
    SetError(error, "sample rate out of range: " + std::to_string(info.samplerate));
    return nullptr;
  }
  if (info.channels < 1) {
    SetError(error, "no channels");
    return nullptr;
  }
  if (IsWav(info.format) && WavDataCutShort(path)) {
    SetError(error, "data chunk cut short");
    return nullptr;
  }

  auto sound = std::make_shared<SoundData>();
  sound->sampleRate = info.samplerate;
  sound->fileChannels = info.channels;
  if (info.frames > 0 && info.frames <= kMaxSoundFrames) {
    sound->samples.reserve(static_cast<size_t>(info.frames + 1) * kSoundChannels);
  }
  std::vector<float> chunk(static_cast<size_t>(kReadChunkFrames) * info.channels);
  int64_t frames = 0;
  while (frames < kMaxSoundFrames) {
    const sf_count_t wanted = std::min<sf_count_t>(kReadChunkFrames, kMaxSoundFrames - frames);
    const sf_count_t got = sf_readf_float(file.get(), chunk.data(), wanted);
    if (got <= 0) break;
    AppendStereo(chunk, got, info.channels, sound->samples);
    frames += got;
  }
  if (sf_error(file.get()) != SF_ERR_NO_ERROR) {
    SetError(error, std::string("damaged: ") + sf_strerror(file.get()));
    return nullptr;
  }
  if (frames == 0) {
    SetError(error, "no sound data");
    return nullptr;
  }
  sound->frames = frames;
  sound->samples.resize(static_cast<size_t>(frames + 1) * kSoundChannels, 0.0f);  // the guard frame
  sound->samples.shrink_to_fit();
  return sound;
}

}  // namespace vremo
