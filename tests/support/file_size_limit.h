#pragma once
// A full disk, portably: RLIMIT_FSIZE makes every write past the limit fail
// with EFBIG (the signal it would raise is ignored), in this process while a
// FileSizeLimit lives, or in a child about to run the real program.

#include <signal.h>
#include <sys/resource.h>

namespace vremo::testing {

// For a forked child before exec: the limit and the ignored signal stay.
inline void LimitFileSize(rlim_t bytes) {
  ::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = bytes;
  ::setrlimit(RLIMIT_FSIZE, &limit);
}

class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &old_);
    oldHandler_ = ::signal(SIGXFSZ, SIG_IGN);
    LimitFileSize(bytes);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &old_);
    ::signal(SIGXFSZ, oldHandler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit old_{};
  sighandler_t oldHandler_ = SIG_DFL;
};

}  // namespace vremo::testing
