#include "shell/key_config_dialog.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <string>
#include <vector>

#include "tests/shell/window_test_support.h"

namespace vremo {
namespace {

// The lanes in list order, and the walk of "2" starting after 16.
const std::vector<int32_t> kListedLanes = {11, 12, 13, 14, 15, 16, 18, 19, 21, 22, 23, 24, 25, 26, 28, 29};
const std::vector<int32_t> kForwardWalk = {11, 12, 13, 14, 15, 18, 19, 21, 22, 23, 24, 25, 28, 29, 26, 16};

int RowOf(int32_t channel) {
  for (size_t row = 0; row < kListedLanes.size(); ++row) {
    if (kListedLanes[row] == channel) return static_cast<int>(row);
  }
  return -1;
}

class KeyConfigDialogTest : public ::testing::Test {
 protected:
  KeyConfigDialogTest() {
    testing::App();
    Open();
  }

  void Open() {
    dialog = std::make_unique<KeyConfigDialog>(keyMap);
    dialog->show();
    picture = dialog->findChild<QWidget*>("picKeyDown");
  }
  void ClickButton(const char* name) {
    QTest::mouseClick(testing::FindControl<QPushButton>(*dialog, name), Qt::LeftButton);
  }
  void Press(Qt::Key key, Qt::KeyboardModifiers mods = Qt::NoModifier) { QTest::keyClick(picture, key, mods); }
  // Rows as standard strings, so failures print them readably.
  std::vector<std::string> Rows() {
    std::vector<std::string> rows;
    for (const QString& row : dialog->listRows()) rows.push_back(row.toStdString());
    return rows;
  }
  std::string Row(int32_t channel) { return dialog->listRows().value(RowOf(channel)).toStdString(); }
  void Click(const QPoint& point) { QTest::mouseClick(picture, Qt::LeftButton, Qt::NoModifier, point); }
  void ExpectLane(int32_t channel) {
    EXPECT_EQ(dialog->currentLane(), channel);
    EXPECT_EQ(dialog->selectedRow(), RowOf(channel)) << channel;
  }
  // The current lane's shape is drawn with a frame at both corners.
  bool Framed(int32_t channel) {
    const QImage image = picture->grab().toImage();
    const QRect shape = dialog->laneShapeRect(channel);
    return image.pixel(shape.topLeft()) == kLaneHighlightRgb && image.pixel(shape.bottomRight()) == kLaneHighlightRgb;
  }

  KeyMap keyMap = DefaultKeyMap();
  std::unique_ptr<KeyConfigDialog> dialog;
  QWidget* picture = nullptr;
};

TEST_F(KeyConfigDialogTest, OpensOnLane11AndDamagedEntriesSurviveOk) {
  // Values no lane has, as a damaged key file could hold, are not listed.
  keyMap[5] = 17;
  keyMap[6] = -3;
  keyMap[7] = 999;
  keyMap['Q'] = 29;
  Open();  // again, on the damaged table
  EXPECT_EQ(dialog->windowTitle(), "Key configuration");
  EXPECT_EQ(Rows(),
            std::vector<std::string>({"11\t[90]", "12\t[83]", "13\t[88]", "14\t[68]", "15\t[67]", "16\t[16][32]",
                                      "18\t[70]", "19\t[86]", "21\t[78]", "22\t[74]", "23\t[77]", "24\t[75]",
                                      "25\t[188]", "26\t[13]", "28\t[76]", "29\t[81][190]"}));
  ExpectLane(11);
  EXPECT_EQ(dialog->focusWidget(), picture);
  for (const char* name : {"cmdOK", "cmdCancel", "cmdClear", "cmdDefault"}) {
    EXPECT_FALSE(testing::FindControl<QPushButton>(*dialog, name)->toolTip().isEmpty()) << name;
  }
  const KeyMap before = keyMap;
  ClickButton("cmdOK");
  EXPECT_EQ(keyMap, before);
}

TEST_F(KeyConfigDialogTest, OneAndTwoWalkTheKeyboardOrder) {
  Press(Qt::Key_1);
  ExpectLane(16);
  Press(Qt::Key_1);
  ExpectLane(26);
  Press(Qt::Key_2);
  ExpectLane(16);

  auto walk = [&](Qt::Key key) {
    std::vector<int32_t> lanes;
    for (size_t i = 0; i < kForwardWalk.size(); ++i) {
      Press(key);
      lanes.push_back(dialog->currentLane());
      EXPECT_EQ(dialog->selectedRow(), RowOf(lanes.back()));
      EXPECT_TRUE(Framed(lanes.back())) << lanes.back();
    }
    return lanes;
  };
  EXPECT_EQ(walk(Qt::Key_2), kForwardWalk);
  std::vector<int32_t> backward(kForwardWalk.rbegin() + 1, kForwardWalk.rend());
  backward.push_back(16);
  EXPECT_EQ(walk(Qt::Key_1), backward);
  // Stepping never assigns "1" or "2".
  EXPECT_EQ(dialog->workingKeyMap(), DefaultKeyMap());
}

TEST_F(KeyConfigDialogTest, EveryKeyMovesToTheLaneAndCancelDropsIt) {
  Press(Qt::Key_2);
  ExpectLane(12);
  Press(Qt::Key_Z);
  EXPECT_EQ(dialog->workingKeyMap()['Z'], 12);
  EXPECT_EQ(Row(11), "11\t");
  EXPECT_EQ(Row(12), "12\t[83][90]");
  ExpectLane(12);  // the lane stays

  // Shift+A is two presses: Shift, then the letter's own key. A key without
  // a code does nothing.
  Press(Qt::Key_A, Qt::ShiftModifier);
  EXPECT_EQ(dialog->workingKeyMap()['A'], 12);
  EXPECT_EQ(dialog->workingKeyMap()[kVkShift], 12);
  const KeyMap before = dialog->workingKeyMap();
  Press(Qt::Key_VolumeUp);
  EXPECT_EQ(dialog->workingKeyMap(), before);

  // Enter, Tab, Space, Escape and arrows are lane keys too, also when they
  // reach the dialog itself.
  for (Qt::Key key : {Qt::Key_Return, Qt::Key_Tab, Qt::Key_Space, Qt::Key_Escape, Qt::Key_Left}) Press(key);
  Press(Qt::Key_Backtab, Qt::ShiftModifier);
  EXPECT_TRUE(dialog->isVisible());
  EXPECT_EQ(dialog->result(), 0);
  EXPECT_EQ(dialog->focusWidget(), picture);
  EXPECT_EQ(Row(12), "12\t[9][13][16][27][32][37][65][83][90]");
  EXPECT_EQ(Row(16), "16\t");
  EXPECT_EQ(Row(26), "26\t");
  Press(Qt::Key_2);
  QTest::keyClick(dialog.get(), Qt::Key_Escape);
  QTest::keyClick(dialog.get(), Qt::Key_Enter, Qt::KeypadModifier);
  EXPECT_TRUE(dialog->isVisible());
  EXPECT_EQ(Row(13), "13\t[13][27][88]");

  // The table only changes on OK.
  ClickButton("cmdCancel");
  EXPECT_EQ(keyMap, DefaultKeyMap());
  EXPECT_EQ(dialog->result(), QDialog::Rejected);
  EXPECT_FALSE(dialog->isVisible());
}

TEST_F(KeyConfigDialogTest, ClearDefaultAndOk) {
  Press(Qt::Key_Q);
  ClickButton("cmdClear");
  EXPECT_EQ(dialog->workingKeyMap(), KeyMap{});
  for (int32_t channel : kListedLanes) EXPECT_EQ(Row(channel), std::to_string(channel) + '\t');
  ExpectLane(11);

  Press(Qt::Key_Q);
  ClickButton("cmdDefault");
  EXPECT_EQ(dialog->workingKeyMap(), DefaultKeyMap());
  EXPECT_EQ(Row(16), "16\t[16][32]");

  ClickButton("cmdClear");
  ClickButton("cmdOK");
  EXPECT_EQ(keyMap, KeyMap{});
  EXPECT_EQ(dialog->result(), QDialog::Accepted);
  EXPECT_FALSE(dialog->isVisible());
}

TEST_F(KeyConfigDialogTest, MouseSelectsAndThePictureFramesTheLaneUnderThePoint) {
  EXPECT_EQ(picture->grab().size(), picture->size());
  EXPECT_TRUE(Framed(11));
  int32_t previous = 11;
  for (int32_t channel : kListedLanes) {
    const QRect shape = dialog->laneShapeRect(channel);
    ASSERT_FALSE(shape.isEmpty()) << channel;
    EXPECT_TRUE(picture->rect().contains(shape)) << channel;
    Click(shape.center());
    ExpectLane(channel);
    EXPECT_TRUE(Framed(channel)) << channel;
    EXPECT_TRUE(previous == channel || !Framed(previous)) << previous << " still framed at " << channel;
    previous = channel;
  }
  EXPECT_TRUE(dialog->laneShapeRect(17).isEmpty());

  // The far edges belong to the shape.
  const QRect key2 = dialog->laneShapeRect(12);
  Click(QPoint(key2.x() + key2.width(), key2.y() + key2.height()));
  ExpectLane(12);
  Click(dialog->laneShapeRect(26).topLeft());
  ExpectLane(26);
  // Between shapes nothing changes.
  Click(QPoint(key2.x() + key2.width() + 1, key2.y()));
  ExpectLane(26);
  Click(QPoint(0, 0));
  ExpectLane(26);

  // A row of the list selects its lane and leaves the keyboard on the picture.
  auto* list = testing::FindControl<QListWidget>(*dialog, "lstKeyList");
  QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier,
                    list->visualItemRect(list->item(RowOf(28))).center());
  ExpectLane(28);
  EXPECT_EQ(dialog->focusWidget(), picture);
  Press(Qt::Key_P);
  EXPECT_EQ(dialog->workingKeyMap()['P'], 28);
}

}  // namespace
}  // namespace vremo
