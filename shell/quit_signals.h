#pragma once
// SIGTERM, SIGINT and SIGHUP (kill, Ctrl+C, the end of a session) close the
// player the way closing its window does, so the partner hears "PCLOSE" and
// settings, key map and list are saved. The handler only writes the signal's
// number to a pipe; the UI thread reads it and runs `onQuit`. A second
// signal of the same kind ends the process at once, for a player that does
// not close. One object per process, made and used on the UI thread.

#include <QObject>
#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace vremo {

class QuitSignals : public QObject {
 public:
  explicit QuitSignals(std::function<void()> onQuit, QObject* parent = nullptr);
  ~QuitSignals() override;
  // False (nothing installed) when the pipe could not be made.
  bool installed() const { return notifier_ != nullptr; }

 private:
  void Received();

  std::function<void()> onQuit_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace vremo
