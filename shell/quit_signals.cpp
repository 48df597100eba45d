// Ending signals turned into a close on the UI thread (self-pipe).
#include "shell/quit_signals.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>

namespace vremo {
namespace {

constexpr int kQuitSignals[] = {SIGTERM, SIGINT, SIGHUP};

// The pipe's ends; -1 while no QuitSignals exists.
int readEnd = -1;
int writeEnd = -1;

// Async-signal-safe: one write, errno kept for the interrupted code.
void OnSignal(int number) {
  const int saved = errno;
  const char byte = static_cast<char>(number);
  [[maybe_unused]] const ssize_t written = ::write(writeEnd, &byte, 1);
  errno = saved;
}

}  // namespace

QuitSignals::QuitSignals(std::function<void()> onQuit, QObject* parent) : QObject(parent), onQuit_(std::move(onQuit)) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return;
  readEnd = ends[0];
  writeEnd = ends[1];
  notifier_ = std::make_unique<QSocketNotifier>(readEnd, QSocketNotifier::Read);
  connect(notifier_.get(), &QSocketNotifier::activated, this, [this] { Received(); });
  struct sigaction action {};
  action.sa_handler = OnSignal;
  sigemptyset(&action.sa_mask);
  // SA_RESETHAND: the next signal of the kind takes its default course.
  action.sa_flags = SA_RESTART | SA_RESETHAND;
  for (int number : kQuitSignals) ::sigaction(number, &action, nullptr);
}

QuitSignals::~QuitSignals() {
  if (notifier_ == nullptr) return;
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  sigemptyset(&action.sa_mask);
  for (int number : kQuitSignals) ::sigaction(number, &action, nullptr);
  notifier_.reset();
  ::close(readEnd);
  ::close(writeEnd);
  readEnd = writeEnd = -1;
}

void QuitSignals::Received() {
  char bytes[16];
  while (::read(readEnd, bytes, sizeof bytes) > 0) {
  }
  if (onQuit_) onQuit_();
}

}  // namespace vremo
