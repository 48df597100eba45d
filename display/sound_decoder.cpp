// Sound decoding: libsndfile reads the file; this file checks what it reports,
// converts the frames to stereo float and rejects damaged input.
#include "display/sound_decoder.h"

#include <fcntl.h>
#include <sndfile.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <string_view>
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

// Owns a file descriptor.
class FileHandle {
 public:
  explicit FileHandle(int fd) : fd_(fd) {}
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  ~FileHandle() {
    if (fd_ >= 0) ::close(fd_);
  }
  int get() const { return fd_; }

 private:
  int fd_;
};

// Opens a regular file for reading. The open does not wait for a writer (a
// FIFO) and anything but a regular file (FIFO, device, folder) is refused, so
// no read can block or run on for ever. -1 with `error` set otherwise.
int OpenRegularFile(const std::string& path, uint64_t& size, std::string* error) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) {
    SetError(error, std::string("cannot read: ") + std::strerror(errno));
    return -1;
  }
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(fd);
    SetError(error, "not a regular file");
    return -1;
  }
  ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
  size = static_cast<uint64_t>(status.st_size);
  return fd;
}

bool ReadAt(int fd, uint64_t offset, unsigned char* out, size_t count) {
  return ::pread(fd, out, count, static_cast<off_t>(offset)) == static_cast<ssize_t>(count);
}

// libsndfile plays a WAV whose data chunk is cut short up to where it ends;
// such a file is damaged (a broken copy or download), so it is refused.
// True when the RIFF "data" chunk claims more bytes than the file holds.
bool WavDataCutShort(int fd, uint64_t fileSize) {
  std::array<unsigned char, 12> riff{};
  if (!ReadAt(fd, 0, riff.data(), riff.size())) return false;
  if (std::string_view(reinterpret_cast<char*>(riff.data()), 4) != "RIFF") return false;
  uint64_t offset = riff.size();
  std::array<unsigned char, 8> header{};
  while (offset + header.size() <= fileSize) {
    if (!ReadAt(fd, offset, header.data(), header.size())) return false;
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

// Fresh memory is mapped one page at a time as it is first written, a trap
// each; asking for the whole buffer at once costs one call. Only whole pages
// inside the buffer are touched; where the kernel cannot, nothing happens.
void Prefault(void* data, size_t bytes) {
  const auto page = static_cast<uintptr_t>(::sysconf(_SC_PAGESIZE));
  const auto begin = (reinterpret_cast<uintptr_t>(data) + page - 1) / page * page;
  const auto end = (reinterpret_cast<uintptr_t>(data) + bytes) / page * page;
  if (end > begin) ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE);
}

struct SndFileCloser {
  void operator()(SNDFILE* file) const { sf_close(file); }
};

}  // namespace

int64_t DecodedBytes(int64_t frames) {
  return (std::max<int64_t>(frames, 0) + 1) * kSoundChannels * static_cast<int64_t>(sizeof(float));
}

namespace {

int64_t BudgetFrames(int64_t budgetBytes) { return budgetBytes / DecodedBytes(0) - 1; }

}  // namespace

bool FitsBudget(int64_t frames, int64_t budgetBytes) {
  const int64_t budgetFrames = BudgetFrames(budgetBytes);
  return budgetFrames >= 1 && frames <= budgetFrames;
}

namespace {

// Reads at most `maxFrames` frames of the stream as stereo into `sound`.
int64_t ReadFrames(SNDFILE* file, const SF_INFO& info, int64_t maxFrames, SoundData& sound) {
  if (info.frames > 0 && info.frames <= maxFrames) {
    sound.samples.reserve(static_cast<size_t>(info.frames + 1) * kSoundChannels);
    Prefault(sound.samples.data(), sound.samples.capacity() * sizeof(float));
  }
  std::vector<float> chunk(static_cast<size_t>(kReadChunkFrames) * info.channels);
  int64_t frames = 0;
  while (frames < maxFrames) {
    const sf_count_t wanted = std::min<sf_count_t>(kReadChunkFrames, maxFrames - frames);
    const sf_count_t got = sf_readf_float(file, chunk.data(), wanted);
    if (got <= 0) break;
    AppendStereo(chunk, got, info.channels, sound.samples);
    frames += got;
  }
  return frames;
}

}  // namespace

std::shared_ptr<const SoundData> DecodeSoundFile(const std::string& path, std::string* error, int64_t budgetBytes,
                                                 DecodeStatus* status) {
  DecodeStatus unused;
  DecodeStatus& outcome = status != nullptr ? *status : unused;
  outcome = DecodeStatus::kFailed;
  uint64_t fileSize = 0;
  FileHandle fd(OpenRegularFile(path, fileSize, error));
  if (fd.get() < 0) return nullptr;
  SF_INFO info{};
  std::unique_ptr<SNDFILE, SndFileCloser> file(sf_open_fd(fd.get(), SFM_READ, &info, SF_FALSE));
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
  if (IsWav(info.format) && WavDataCutShort(fd.get(), fileSize)) {
    SetError(error, "data chunk cut short");
    return nullptr;
  }

  // Frames the budget allows; one more is read to tell "fits" from "too long".
  const int64_t budgetFrames = BudgetFrames(budgetBytes);
  if (budgetFrames < 1) {
    SetError(error, "over the memory budget");
    outcome = DecodeStatus::kOverBudget;
    return nullptr;
  }
  auto sound = std::make_shared<SoundData>();
  sound->sampleRate = info.samplerate;
  sound->fileChannels = info.channels;
  const int64_t frames = ReadFrames(file.get(), info, std::min(kMaxSoundFrames, budgetFrames + 1), *sound);
  if (sf_error(file.get()) != SF_ERR_NO_ERROR) {
    SetError(error, std::string("damaged: ") + sf_strerror(file.get()));
    return nullptr;
  }
  if (frames == 0) {
    SetError(error, "no sound data");
    return nullptr;
  }
  if (frames > budgetFrames) {
    SetError(error, "over the memory budget");
    outcome = DecodeStatus::kOverBudget;
    return nullptr;
  }
  sound->frames = frames;
  sound->samples.resize(static_cast<size_t>(frames + 1) * kSoundChannels, 0.0f);  // the guard frame
  sound->samples.shrink_to_fit();
  outcome = DecodeStatus::kDecoded;
  return sound;
}

}  // namespace vremo
