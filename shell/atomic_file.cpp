// Temp file + rename.
#include "shell/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace vremo {

bool WriteFileAtomically(const std::string& path, std::string_view bytes) {
  std::string pattern = path + ".XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  const int fd = ::mkstemp(name.data());
  if (fd < 0) return false;
  bool ok = ::fchmod(fd, 0644) == 0;
  size_t done = 0;
  while (ok && done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    ok = n > 0;
    if (ok) done += static_cast<size_t>(n);
  }
  ok = ::fsync(fd) == 0 && ok;
  ok = ::close(fd) == 0 && ok;
  if (ok) ok = std::rename(name.data(), path.c_str()) == 0;
  if (!ok) ::unlink(name.data());
  return ok;
}

}  // namespace vremo
