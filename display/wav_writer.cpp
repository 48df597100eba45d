// 16-bit stereo RIFF WAV encoding and atomic file replacement.
#include "display/wav_writer.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <system_error>

namespace vremo {
namespace {

constexpr int kWavChannels = 2;
constexpr int kWavBytesPerSample = 2;

void PutLe16(std::vector<uint8_t>& out, uint32_t value) {
  out.push_back(static_cast<uint8_t>(value));
  out.push_back(static_cast<uint8_t>(value >> 8));
}

void PutLe32(std::vector<uint8_t>& out, uint32_t value) {
  PutLe16(out, value & 0xFFFF);
  PutLe16(out, value >> 16);
}

void PutTag(std::vector<uint8_t>& out, const char (&tag)[5]) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(tag[i]));
}

int16_t ToPcm16(float value) {
  if (!std::isfinite(value)) return 0;
  return static_cast<int16_t>(std::lrint(std::clamp(value, -1.0f, 1.0f) * 32767.0f));
}

uint64_t DataBytes(int64_t frames) {
  return static_cast<uint64_t>(std::max<int64_t>(frames, 0)) * kWavChannels * kWavBytesPerSample;
}

}  // namespace

std::vector<uint8_t> EncodeWav16(const float* interleavedStereo, int64_t frames, int32_t sampleRate) {
  const uint32_t dataBytes = static_cast<uint32_t>(DataBytes(frames));
  const uint32_t blockAlign = kWavChannels * kWavBytesPerSample;
  std::vector<uint8_t> out;
  out.reserve(kWavHeaderBytes + dataBytes);
  PutTag(out, "RIFF");
  PutLe32(out, 36 + dataBytes);
  PutTag(out, "WAVE");
  PutTag(out, "fmt ");
  PutLe32(out, 16);
  PutLe16(out, 1);  // PCM
  PutLe16(out, kWavChannels);
  PutLe32(out, static_cast<uint32_t>(sampleRate));
  PutLe32(out, static_cast<uint32_t>(sampleRate) * blockAlign);
  PutLe16(out, blockAlign);
  PutLe16(out, 8 * kWavBytesPerSample);
  PutTag(out, "data");
  PutLe32(out, dataBytes);
  for (uint64_t i = 0; i < dataBytes / kWavBytesPerSample; ++i) {
    PutLe16(out, static_cast<uint16_t>(ToPcm16(interleavedStereo[i])));
  }
  return out;
}

bool WriteWavFile(const std::string& path, const float* interleavedStereo, int64_t frames, int32_t sampleRate) {
  if (DataBytes(frames) > std::numeric_limits<uint32_t>::max() - kWavHeaderBytes) return false;
  const std::vector<uint8_t> bytes = EncodeWav16(interleavedStereo, frames, sampleRate);
  const std::string temporary = path + ".tmp" + std::to_string(::getpid());
  std::FILE* file = std::fopen(temporary.c_str(), "wb");
  if (!file) return false;
  bool ok = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  ok = std::fflush(file) == 0 && ok;
  ok = ::fsync(::fileno(file)) == 0 && ok;
  ok = std::fclose(file) == 0 && ok;
  std::error_code ec;
  if (ok) std::filesystem::rename(temporary, path, ec);
  if (!ok || ec) {
    std::filesystem::remove(temporary, ec);
    return false;
  }
  return true;
}

}  // namespace vremo
