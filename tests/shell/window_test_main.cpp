// The desktop tests (windows, sockets, files) share one application object,
// made before any test runs; sockets and timers need its event loop. They
// never need a real screen, also when the build lists the tests.
#include <gtest/gtest.h>

#include <QtGlobal>

#include "tests/shell/window_test_support.h"

int main(int argc, char** argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  vremo::testing::App();
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
