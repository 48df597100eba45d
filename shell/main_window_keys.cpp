// MainWindow: every key of the window, hot keys first (one table, in the
// order they are tested), then the lane keys.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QPushButton>
#include <QRadioButton>
#include <array>

#include "shell/main_window.h"
#include "shell/virtual_keys.h"

namespace vremo {
namespace {

constexpr int32_t kVkDigit1 = '1';
constexpr int32_t kVkDigit2 = '2';
constexpr int32_t kVkDigit3 = '3';
constexpr int32_t kVkDigit4 = '4';
constexpr int32_t kVkDigit5 = '5';
constexpr int32_t kVkDigit6 = '6';
constexpr int32_t kVkDigit8 = '8';
constexpr int32_t kVkF(int n) { return kVkF1 + n - 1; }

// The modifier a hot key needs; kAny acts whatever is held.
enum class Mods { kAny, kAlt, kCtrl, kCtrlShift };

struct HotKey {
  int32_t keyCode;
  Mods mods;
  const char* action;
};

// The order is the order of testing: Ctrl+F7 before F7.
constexpr std::array<HotKey, 19> kHotKeys = {{
    {kVkReturn, Mods::kAlt, "screen"},
    {kVkTab, Mods::kCtrlShift, "previous page"},
    {kVkTab, Mods::kCtrl, "next page"},
    {kVkF(1), Mods::kAny, "rew"},
    {kVkF(2), Mods::kAny, "play"},
    {kVkF(3), Mods::kAny, "stop"},
    {kVkF(4), Mods::kAny, "ff"},
    {kVkF(5), Mods::kAny, "reload"},
    {kVkF(7), Mods::kCtrl, "record"},
    {kVkF(7), Mods::kAny, "user play"},
    {kVkF(9), Mods::kAny, "open"},
    {kVkDigit1, Mods::kAny, "down"},
    {kVkDigit2, Mods::kAny, "up"},
    {kVkDigit3, Mods::kAny, "show freq"},
    {kVkDigit4, Mods::kAny, "show hispeed"},
    {kVkDigit5, Mods::kAny, "bga"},
    {kVkDigit6, Mods::kAny, "vline"},
    {kVkDigit8, Mods::kAny, "rect"},
    {kVkF(8), Mods::kAny, "demo"},
}};

bool ModsMatch(Mods wanted, Qt::KeyboardModifiers held) {
  const bool shift = held & Qt::ShiftModifier;
  const bool ctrl = held & Qt::ControlModifier;
  const bool alt = held & Qt::AltModifier;
  switch (wanted) {
    case Mods::kAny:
      return true;
    case Mods::kAlt:
      return alt && !ctrl && !shift;
    case Mods::kCtrl:
      return ctrl && !alt && !shift;
    case Mods::kCtrlShift:
      return ctrl && shift && !alt;
  }
  return false;
}

QString OnOff(bool on) { return on ? "On" : "Off"; }

}  // namespace

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease) return false;
  auto* widget = qobject_cast<QWidget*>(watched);
  if (widget == nullptr || widget->window() != this) return false;
  auto* key = static_cast<QKeyEvent*>(event);
  const int32_t code = VirtualKeyOf(key->key(), key->modifiers() & Qt::KeypadModifier);
  if (code == kNoVirtualKey) return false;
  // X and Wayland stamp key events in milliseconds of the monotonic clock
  // that the play clock reads too.
  const double keyTick = KeyEventTick(key->timestamp(), clock_.TickCount(), engine_->StepTick(), settings_.sleepMs);
  if (event->type() == QEvent::KeyRelease) {
    // The window system's auto-repeat sends a release before each repeat.
    if (key->isAutoRepeat()) return keyMap_[static_cast<size_t>(code)] != 0;
    return Form_KeyUp(code, keyTick);
  }
  return Form_KeyDown(code, key->modifiers(), keyTick);
}

bool MainWindow::Form_KeyDown(int32_t keyCode, Qt::KeyboardModifiers modifiers, std::optional<double> keyTick) {
  laneKeys_->MarkKeyHeld(keyCode);
  const HotKey* hot = nullptr;
  for (const HotKey& entry : kHotKeys) {
    if (entry.keyCode == keyCode && ModsMatch(entry.mods, modifiers)) {
      hot = &entry;
      break;
    }
  }
  if (hot == nullptr) {
    laneKeys_->LaneKeyDown(keyCode, keyTick);
    return keyMap_[static_cast<size_t>(keyCode)] != 0;
  }
  const std::string_view action = hot->action;
  const bool hold3 = laneKeys_->KeyHeld(kVkDigit3);
  const bool hold4 = laneKeys_->KeyHeld(kVkDigit4);
  if (action == "screen") {
    SetScreenMode(!fullScreen());
  } else if (action == "next page") {
    CycleSelSet(1);
  } else if (action == "previous page") {
    CycleSelSet(-1);
  } else if (action == "rew") {
    cmdRew->click();
  } else if (action == "play") {
    cmdPlay_Click();
  } else if (action == "stop") {
    cmdStop_Click();
  } else if (action == "ff") {
    cmdFF->click();
  } else if (action == "reload") {
    cmdReload_Click();
  } else if (action == "record") {
    if (chkUserRecord->isEnabled()) chkUserRecord->click();
  } else if (action == "user play") {
    if (chkUserPlay->isEnabled()) {
      chkUserPlay->click();
      ShowStatusMessage("UserPlay: " + OnOff(chkUserPlay->isChecked()));
    }
  } else if (action == "open") {
    cmdOpen_Click();
  } else if (action == "down" || action == "up") {
    const int step = action == "up" ? 1 : -1;
    if (hold4)
      StepList(cmbHispeed, step, "HiSpeed: ");
    else if (hold3)
      StepList(cmbFreq, step, "Real HiSpeed: ");
    else
      StepList(cmbSleep, step, "Sleep: ");
  } else if (action == "show freq") {
    ShowStatusMessage("Real HiSpeed: " + cmbFreq->currentText() + " (1:Down/2:Up)");
  } else if (action == "show hispeed") {
    ShowStatusMessage("HiSpeed: " + cmbHispeed->currentText() + " (1:Down/2:Up)");
  } else if (action == "bga") {
    ToggleCheck(chkSet[3], "BGA: ");
  } else if (action == "vline") {
    ToggleCheck(chkSet[8], "BG-VLine: ");
  } else if (action == "rect") {
    if (cmbRect->count() > 0) cmbRect->setCurrentIndex((cmbRect->currentIndex() + 1) % cmbRect->count());
    ShowStatusMessage("Rect: " + cmbRect->currentText());
  } else if (action == "demo") {
    ToggleCheck(chkDEMO, "DEMO: ");
  }
  return true;
}

bool MainWindow::Form_KeyUp(int32_t keyCode, std::optional<double> keyTick) {
  laneKeys_->KeyUp(keyCode, keyTick);
  return keyMap_[static_cast<size_t>(keyCode)] != 0;
}

void MainWindow::StepList(QComboBox* list, int step, const QString& label) {
  const int index = list->currentIndex() + step;
  if (index < 0 || index >= list->count() || (step < 0 && list->currentIndex() < 1)) return;
  list->setCurrentIndex(index);
  ShowStatusMessage(label + list->currentText() + " (1:Down/2:Up)");
}

void MainWindow::ToggleCheck(QCheckBox* check, const QString& label) {
  check->setChecked(!check->isChecked());
  ShowStatusMessage(label + OnOff(check->isChecked()));
}

void MainWindow::ShowStatusMessage(const QString& text) {
  lastStatusMessage_ = text.toStdString();
  renderer_->ShowMessage(lastStatusMessage_);
  if (!engine_->state().running) DrawIdleFrame();
}

void MainWindow::CycleSelSet(int step) {
  const int count = static_cast<int>(optSelSet.size());
  int current = 0;
  for (int i = 0; i < count; ++i) {
    if (optSelSet[static_cast<size_t>(i)]->isChecked()) current = i;
  }
  QRadioButton* next = optSelSet[static_cast<size_t>((current + step + count) % count)];
  next->setChecked(true);
  next->setFocus();
}

}  // namespace vremo
