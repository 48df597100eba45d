// 16-bit stereo RIFF WAV encoding and atomic file replacement.
#include "display/wav_writer.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>

namespace vremo {
namespace {

constexpr int kWavChannels = 2;
constexpr int kWavBytesPerSample = 2;
constexpr int kRiffSizeBeyondData = kWavHeaderBytes - 8;  // the RIFF size counts all but its own 8 bytes

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

void PutHeader(std::vector<uint8_t>& out, uint32_t dataBytes, int32_t sampleRate) {
  const uint32_t blockAlign = kWavChannels * kWavBytesPerSample;
  PutTag(out, "RIFF");
  PutLe32(out, kRiffSizeBeyondData + dataBytes);
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
}

void PutSamples(std::vector<uint8_t>& out, const float* interleavedStereo, int64_t frames) {
  const uint64_t count = DataBytes(frames) / kWavBytesPerSample;
  for (uint64_t i = 0; i < count; ++i) PutLe16(out, static_cast<uint16_t>(ToPcm16(interleavedStereo[i])));
}

}  // namespace

std::vector<uint8_t> EncodeWav16(const float* interleavedStereo, int64_t frames, int32_t sampleRate) {
  const uint32_t dataBytes = static_cast<uint32_t>(DataBytes(frames));
  std::vector<uint8_t> out;
  out.reserve(kWavHeaderBytes + dataBytes);
  PutHeader(out, dataBytes, sampleRate);
  PutSamples(out, interleavedStereo, frames);
  return out;
}

bool WriteWavFile(const std::string& path, const float* interleavedStereo, int64_t frames, int32_t sampleRate) {
  WavFileWriter writer(path, sampleRate);
  return writer.Append(interleavedStereo, frames) && writer.Finish();
}

WavFileWriter::WavFileWriter(std::string path, int32_t sampleRate, int64_t maxFrames)
    : path_(std::move(path)),
      temporary_(path_ + ".tmp" + std::to_string(::getpid())),
      sampleRate_(sampleRate),
      maxFrames_(std::min(maxFrames, kMaxWavFrames)) {
  file_ = std::fopen(temporary_.c_str(), "wb");
  std::vector<uint8_t> header;
  PutHeader(header, 0, sampleRate_);  // the sizes are written by Finish
  if (file_ == nullptr || std::fwrite(header.data(), 1, header.size(), file_) != header.size()) Abandon();
}

WavFileWriter::~WavFileWriter() {
  if (file_ != nullptr) Abandon();
}

void WavFileWriter::Abandon() {
  failed_ = true;
  if (file_ == nullptr) return;
  std::fclose(file_);
  file_ = nullptr;
  std::error_code ec;
  std::filesystem::remove(temporary_, ec);
}

bool WavFileWriter::Append(const float* interleavedStereo, int64_t frames) {
  if (failed_) return false;
  if (frames <= 0) return true;
  if (frames > maxFrames_ - frames_) {
    tooLong_ = true;
    Abandon();
    return false;
  }
  encoded_.clear();
  PutSamples(encoded_, interleavedStereo, frames);
  if (std::fwrite(encoded_.data(), 1, encoded_.size(), file_) != encoded_.size()) {
    Abandon();
    return false;
  }
  frames_ += frames;
  return true;
}

bool WavFileWriter::Finish() {
  if (failed_) return false;
  std::vector<uint8_t> header;
  PutHeader(header, static_cast<uint32_t>(DataBytes(frames_)), sampleRate_);
  bool ok = std::fseek(file_, 0, SEEK_SET) == 0 && std::fwrite(header.data(), 1, header.size(), file_) == header.size();
  ok = std::fflush(file_) == 0 && ok;
  ok = ::fsync(::fileno(file_)) == 0 && ok;
  ok = std::fclose(file_) == 0 && ok;
  file_ = nullptr;
  std::error_code ec;
  if (ok) std::filesystem::rename(temporary_, path_, ec);
  if (!ok || ec) {
    failed_ = true;
    std::filesystem::remove(temporary_, ec);
    return false;
  }
  return true;
}

}  // namespace vremo
