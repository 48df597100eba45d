#pragma once
// What the window tests share: the one application object of the test
// program, and waiting on the event loop for a condition.

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QPlainTextEdit>
#include <functional>

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

// A control of `window` by its name; a missing one fails the test by name.
template <typename T>
T* FindControl(const QWidget& window, const char* name) {
  T* control = window.findChild<T*>(name);
  EXPECT_NE(control, nullptr) << name;
  return control;
}

// What the main window's debug log box shows.
inline QString LogText(const QWidget& window) {
  return FindControl<QPlainTextEdit>(window, "txtStatus")->toPlainText();
}

}  // namespace vremo::testing
