// Bounded, non-blocking reading of whole files.
#include "chart/file_bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vremo {
namespace {

constexpr size_t kReadBlockBytes = size_t{64} << 10;
constexpr size_t kBytesPerMiB = size_t{1} << 20;

// Closes the descriptor however the read ends.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  ~FileDescriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

// Reads to the end; false on a read error or when more than maxBytes come.
FileReadStatus ReadToEnd(int fd, size_t expected, size_t maxBytes, std::string& bytes) {
  bytes.reserve(expected);
  std::string block(kReadBlockBytes, '\0');
  for (;;) {
    const ssize_t n = ::read(fd, block.data(), block.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return FileReadStatus::kFailed;
    if (n == 0) return FileReadStatus::kRead;
    if (bytes.size() + static_cast<size_t>(n) > maxBytes) return FileReadStatus::kTooLarge;
    bytes.append(block.data(), static_cast<size_t>(n));
  }
}

}  // namespace

FileRead ReadWholeFile(const std::string& path, size_t maxBytes) {
  FileRead read;
  // Non-blocking, so that opening a FIFO nobody writes to returns at once.
  const FileDescriptor fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  if (fd.get() < 0) {
    // A file that is there but may not be opened is no missing file.
    if (errno != ENOENT && errno != ENOTDIR) read.status = FileReadStatus::kFailed;
    return read;
  }
  struct stat info {};
  if (::fstat(fd.get(), &info) != 0) {
    read.status = FileReadStatus::kFailed;
    return read;
  }
  if (!S_ISREG(info.st_mode)) {
    read.status = FileReadStatus::kNotRegular;
    return read;
  }
  if (info.st_size < 0 || static_cast<unsigned long long>(info.st_size) > maxBytes) {
    read.status = FileReadStatus::kTooLarge;
    return read;
  }
  read.status = ReadToEnd(fd.get(), static_cast<size_t>(info.st_size), maxBytes, read.bytes);
  if (!read.ok()) read.bytes = std::string();
  return read;
}

std::string FileReadErrorLine(const FileRead& read, const std::string& path, size_t maxBytes) {
  const std::string name = FileNameOf(path);
  switch (read.status) {
    case FileReadStatus::kNotRegular:
      return "Err[not a file] :" + name;
    case FileReadStatus::kTooLarge:
      return "Err[too large] :" + name + " (over " + std::to_string(maxBytes / kBytesPerMiB) + " MiB, not read)";
    case FileReadStatus::kFailed:
      return "Err[read failed] :" + name;
    case FileReadStatus::kMissing:
      return "Err[not exist] :" + name;
    case FileReadStatus::kRead:
      break;
  }
  return {};
}

std::string FileWriteErrorLine(const std::string& path, int error) {
  return "Err[write failed] :" + FileNameOf(path) + " (" + std::strerror(error) + ")";
}

std::string FileNameOf(const std::string& path) {
  const size_t slash = path.find_last_of("\\/");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string ReadFileBytes(const std::string& path) { return ReadWholeFile(path).bytes; }

std::string ReadFileBytes(const std::string& path, DebugLog& log) {
  FileRead read = ReadWholeFile(path);
  // A missing file is CheckExist's to report.
  if (!read.ok() && read.status != FileReadStatus::kMissing) log.PutLog(FileReadErrorLine(read, path));
  return std::move(read.bytes);
}

bool WriteAllBytes(int fd, std::string_view bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

}  // namespace vremo
