#include "shell/calibration_dialog.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>

#include "tests/shell/window_test_support.h"

namespace vremo {
namespace {

// Sixteen presses by their timestamps, each delivered 3 ms later: the
// errors against the clicks, their median (halves to even) as the proposal.
TEST(CalibrationDialog, ProposesTheMedianOfSixteenTimestampedPresses) {
  testing::App();
  VirtualClock clock(5000);
  CalibrationDialog dialog(nullptr, 0, clock);
  dialog.Restart(1000);
  const int errors[] = {30, 25, 40, 35, 20, 28, 33, 31, 45, 27, 29, 36, -10, 60, 32, 30};
  auto* apply = dialog.findChild<QPushButton*>("cmdCalibrationApply");
  ASSERT_NE(apply, nullptr);
  for (int i = 0; i < kCalibrationPresses; ++i) {
    EXPECT_FALSE(apply->isEnabled());
    const int32_t stamp = 1000 + i * kCalibrationIntervalMs + errors[i];
    clock.Set(stamp + 3);
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier);
    press.setTimestamp(static_cast<quint64>(stamp));
    QApplication::sendEvent(&dialog, &press);
  }
  ASSERT_EQ(dialog.errors().size(), 16u);
  EXPECT_EQ(dialog.errors()[12], -10.0);
  // Sorted, the middle two are 30 and 31.
  EXPECT_EQ(dialog.proposedOffset(), 30);
  EXPECT_TRUE(apply->isEnabled());
  EXPECT_EQ(dialog.findChild<QLabel*>("lblCalibration")->text(), "Proposed judgement offset: 30 ms");

  // A stamp from before the last frame counts at its delivery: 20 ms late.
  dialog.Restart(1000);
  clock.Set(1520);
  QKeyEvent stale(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier);
  stale.setTimestamp(3);
  QApplication::sendEvent(&dialog, &stale);
  EXPECT_EQ(dialog.errors(), std::vector<double>{20.0});
  EXPECT_FALSE(dialog.proposedOffset());
  EXPECT_EQ(MedianOffset({700.0, 900.0}), kMaxOffsetMs);
  EXPECT_EQ(MedianOffset({-3.0, 8.0, 1.0}), 1);
}

// The timing controls sit on the Sound page and set their options.
TEST(CalibrationDialog, TimingControlsOfTheOptionPanelSetTheSettings) {
  testing::TempFolder folder;
  testing::App();
  MainWindow window(folder.path().string());
  window.StartUp();
  testing::FindControl<QCheckBox>(window, "chkKeyTime")->click();
  testing::FindControl<QSpinBox>(window, "spnAudioOffset")->setValue(25);
  testing::FindControl<QSpinBox>(window, "spnDisplayOffset")->setValue(-600);
  testing::FindControl<QSpinBox>(window, "spnJudgeOffset")->setValue(-40);
  const Settings& settings = window.settings();
  EXPECT_TRUE(settings.judgeAtKeyTime);
  EXPECT_EQ(std::tuple(settings.audioOffsetMs, settings.displayOffsetMs, settings.judgeOffsetMs),
            std::tuple(25, kMinOffsetMs, -40));
  EXPECT_NE(testing::FindControl<QPushButton>(window, "cmdCalibrate"), nullptr);
}

}  // namespace
}  // namespace vremo
