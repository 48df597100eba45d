// Temp file + rename, through links and with the old file's mode and owner.
#include "shell/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "chart/file_bytes.h"

namespace vremo {
namespace {

namespace fs = std::filesystem;

// A new file is readable by all and written by its owner, as it always was.
constexpr mode_t kNewFileMode = 0644;
constexpr mode_t kPermissionBits = 07777;
// As many links as the system follows in one path.
constexpr int kMaxLinkHops = 40;

// The file a path finally names: links are followed (also a link whose
// target does not exist yet), so the link itself stays.
std::string FinalTarget(const std::string& path) {
  fs::path current = path;
  for (int hop = 0; hop < kMaxLinkHops; ++hop) {
    std::error_code ec;
    if (!fs::is_symlink(fs::symlink_status(current, ec))) break;
    const fs::path target = fs::read_symlink(current, ec);
    if (ec) break;
    current = target.is_absolute() ? target : current.parent_path() / target;
  }
  return current.string();
}

}  // namespace

bool WriteFileAtomically(const std::string& path, std::string_view bytes) {
  const std::string target = FinalTarget(path);
  struct stat old {};
  const bool existed = ::stat(target.c_str(), &old) == 0 && S_ISREG(old.st_mode);

  std::string pattern = target + ".XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  const int fd = ::mkstemp(name.data());
  if (fd < 0) return false;
  // The owner first (a change of owner may clear set-id bits), then the
  // mode. A user who may write another's file may not give it back: it is
  // then theirs, as any editor would leave it.
  bool ok = !existed || (old.st_uid == ::geteuid() && old.st_gid == ::getegid()) ||
            ::fchown(fd, old.st_uid, old.st_gid) == 0 || errno == EPERM;
  ok = ok && ::fchmod(fd, existed ? old.st_mode & kPermissionBits : kNewFileMode) == 0;
  ok = ok && WriteAllBytes(fd, bytes);
  ok = ::fsync(fd) == 0 && ok;
  ok = ::close(fd) == 0 && ok;
  if (ok) ok = std::rename(name.data(), target.c_str()) == 0;
  if (!ok) {
    // The caller reports why: the removal must not change errno.
    const int error = errno;
    ::unlink(name.data());
    errno = error;
  }
  return ok;
}

bool BackUpFile(const std::string& path) {
  std::error_code ec;
  if (!fs::is_regular_file(path, ec) || fs::file_size(path, ec) > kMaxFileBytes || ec) return false;
  return fs::copy_file(path, path + std::string(kBackupSuffix), fs::copy_options::overwrite_existing, ec) && !ec;
}

}  // namespace vremo
