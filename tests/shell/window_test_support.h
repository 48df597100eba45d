#pragma once
// What the window tests share: the one application object of the test
// program, waiting on the event loop, and a main window in a fresh home.

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QPlainTextEdit>
#include <QTimer>
#include <functional>
#include <memory>

#include "shell/main_window.h"
#include "shell/player_commands.h"
#include "tests/chart/chart_fixture.h"

namespace vremo::testing {

inline constexpr int kWindowWaitLimitMs = 20000;

inline QApplication& App() {
  static int argc = 1;
  static char name[] = "shell_window_tests";
  static char* argv[] = {name, nullptr};
  static QApplication* app = new QApplication(argc, argv);
  return *app;
}

// Runs the event loop until `done` holds (or a generous limit passes, which
// the caller's assertions then report).
inline bool WaitFor(const std::function<bool()>& done) {
  QElapsedTimer timer;
  timer.start();
  while (!done() && timer.elapsed() < kWindowWaitLimitMs) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  }
  return done();
}

// Runs `action` from the event loop once `ready` holds (e.g. inside a play's
// own event pumping once it runs); polls only while `context` lives.
inline void WhenReady(QObject* context, const std::function<bool()>& ready, const std::function<void()>& action) {
  QTimer::singleShot(5, context, [=] { ready() ? action() : WhenReady(context, ready, action); });
}

// A control of `window` by its name; a missing one fails the test by name.
template <typename T>
T* FindControl(const QWidget& window, const char* name) {
  T* control = window.findChild<T*>(name);
  EXPECT_NE(control, nullptr) << name;
  return control;
}

// A started main window whose home is a fresh folder, with the command side
// (list, list window, channel) attached when asked, as the program does.
class WindowTest : public ::testing::Test {
 protected:
  explicit WindowTest(bool withCommands) {
    App();
    window = std::make_unique<MainWindow>(folder.path().string());
    if (withCommands) commands = std::make_unique<PlayerCommands>(*window, folder.path().string());
    window->StartUp();
  }

  template <typename T>
  T* Find(const char* name) {
    return FindControl<T>(*window, name);
  }
  QString Log() { return FindControl<QPlainTextEdit>(*window, "txtStatus")->toPlainText(); }
  int LogCount(const QString& line) { return Log().count(line); }
  bool PlayEnds(int count) {
    return WaitFor([&] { return LogCount("PlayLoop complete") == count; });
  }
  // `action` runs inside the play loop's event pumping once the play runs.
  void WhenPlaying(const std::function<void()>& action) {
    WhenReady(
        window.get(), [this] { return window->engine().state().running; }, action);
  }

  TempFolder folder;
  std::unique_ptr<MainWindow> window;
  std::unique_ptr<PlayerCommands> commands;  // declared last: goes first
};

}  // namespace vremo::testing
