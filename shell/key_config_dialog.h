#pragma once
// `frmKeyCnf`, the key configuration dialog: the list of lanes with their
// keys (`lstKeyList`), a picture of the two controllers (`picKeyDown`) that
// takes the keyboard focus, and the buttons OK, Cancel, Clear and Default.
// It edits a working copy of the KeyMap; only OK writes it back, so the play
// input never sees half-made changes. The main window opens it from
// `cmdKeyConf`. UI thread only.

#include <QDialog>
#include <QRect>
#include <QRgb>
#include <QStringList>
#include <cstdint>

#include "play/lane_keys.h"

class QEvent;
class QKeyEvent;
class QListWidget;
class QListWidgetItem;
class QPoint;

namespace vremo {

class KeyPicture;

// The colour of the frame around the current lane's shape.
inline constexpr QRgb kLaneHighlightRgb = qRgb(255, 48, 48);

class KeyConfigDialog : public QDialog {
  Q_OBJECT

 public:
  // Works on a copy of `keyMap`; OK copies it back into `keyMap` and
  // accepts, Cancel rejects and leaves `keyMap` alone. `keyMap` must outlive
  // the dialog.
  explicit KeyConfigDialog(KeyMap& keyMap, QWidget* parent = nullptr);

  // Empties the working copy and applies the default table.
  void SetDefault();
  // Makes `channel` the current lane, selects its row and moves the
  // highlight to its shape. Channels without a shape are ignored.
  void SelectLane(int32_t channel);

  int32_t currentLane() const { return currentLane_; }
  const KeyMap& workingKeyMap() const { return working_; }
  // The rows of `lstKeyList`, top to bottom, and the selected one.
  QStringList listRows() const;
  int selectedRow() const;
  // Where a lane's shape lies in `picKeyDown`; empty for a channel without one.
  QRect laneShapeRect(int32_t channel) const;

 protected:
  // Every key is a lane key here: Tab, Enter and Escape assign lanes instead
  // of moving the focus or closing the dialog.
  bool event(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void BuildControls();
  void FillList();
  void Form_KeyDown(int32_t keyCode);
  void picKeyDown_MouseDown(const QPoint& point);
  void lstKeyList_Click(QListWidgetItem* item);
  void cmdOK_Click();
  void cmdClear_Click();
  void cmdDefault_Click();

  KeyMap& keyMap_;
  KeyMap working_{};
  int32_t currentLane_ = 0;
  QListWidget* lstKeyList = nullptr;
  KeyPicture* picKeyDown = nullptr;
};

}  // namespace vremo
