#pragma once
// Writing rendered sound as a 16-bit PCM stereo RIFF WAV file. The file is
// written under a temporary name in the same folder and renamed over the
// target, so a crash never leaves a half-written file. A long render streams
// its frames through a WavFileWriter block by block instead of holding them.
// Any thread; one writer per thread.

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace vremo {

inline constexpr int kWavHeaderBytes = 44;
// The most frames a RIFF file's 32-bit sizes can count (about 6 h 45 min of
// 44.1 kHz stereo).
inline constexpr int64_t kMaxWavFrames = (int64_t{0xFFFFFFFF} - kWavHeaderBytes) / 4;

// The whole file's bytes: a 44-byte header ("RIFF", "WAVE", "fmt " chunk of 16
// bytes: PCM, 2 channels, `sampleRate`, 16 bits; "data" chunk) followed by the
// samples, clamped to [-1, 1], scaled by 32767 and rounded to nearest.
std::vector<uint8_t> EncodeWav16(const float* interleavedStereo, int64_t frames, int32_t sampleRate);

// Encodes and writes atomically; false (and no file at `path` touched) when
// the folder cannot be written or the data would exceed a RIFF file's 4 GiB.
bool WriteWavFile(const std::string& path, const float* interleavedStereo, int64_t frames, int32_t sampleRate);

// The same file, written as the frames come. Nothing appears at `path` until
// Finish succeeds; a writer destroyed unfinished removes its temporary file.
class WavFileWriter {
 public:
  // `maxFrames` below kMaxWavFrames is for tests.
  WavFileWriter(std::string path, int32_t sampleRate, int64_t maxFrames = kMaxWavFrames);
  WavFileWriter(const WavFileWriter&) = delete;
  WavFileWriter& operator=(const WavFileWriter&) = delete;
  ~WavFileWriter();

  // Adds frames to the file; false once it cannot take them (the folder or
  // disk failed, or the file would pass its frame limit). After a failure every
  // later call fails and Finish fails.
  bool Append(const float* interleavedStereo, int64_t frames);
  // Writes the header's sizes, syncs and renames the file over `path`.
  bool Finish();
  bool failed() const { return failed_; }
  // True when the failure was a mix too long for the file.
  bool tooLong() const { return tooLong_; }
  int64_t frames() const { return frames_; }

 private:
  void Abandon();

  std::string path_;
  std::string temporary_;
  int32_t sampleRate_;
  int64_t maxFrames_;
  std::FILE* file_ = nullptr;
  int64_t frames_ = 0;
  bool failed_ = false;
  bool tooLong_ = false;
  std::vector<uint8_t> encoded_;  // one block's bytes, reused
};

}  // namespace vremo
