// The key configuration dialog: its controller picture, the lane list and
// the editing of the working copy.
#include "shell/key_config_dialog.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>
#include <array>
#include <functional>
#include <vector>

#include "chart/chart.h"
#include "shell/virtual_keys.h"

namespace vremo {
namespace {

// "1" and "2" step through the lanes, so they can never play one.
constexpr int32_t kVkPreviousLane = '1';
constexpr int32_t kVkNextLane = '2';

constexpr int32_t kSide1Scratch = 16;
constexpr int32_t kSide2Scratch = 26;
constexpr int32_t kLaneShapeCount = 16;
// Keys 1-7 of a side as channel offsets from the side's base (10 or 20).
constexpr std::array<int32_t, 7> kKeyOffsets = {1, 2, 3, 4, 5, 8, 9};
constexpr int32_t kSide1Base = 10;
constexpr int32_t kSide2Base = 20;

// Controller picture geometry in pixels. Even key columns are the lower
// (white) row, odd ones the upper (black) row, staggered as on a cabinet.
constexpr int kMargin = 10;
constexpr int kKeyWidth = 30;
constexpr int kKeyHeight = 56;
constexpr int kKeyStep = 34;
constexpr int kRowGap = 6;
constexpr int kScratchSize = 2 * kKeyHeight + kRowGap;
constexpr int kScratchGap = 14;
constexpr int kSideGap = 36;
constexpr int kKeysWidth = (static_cast<int>(kKeyOffsets.size()) - 1) * kKeyStep + kKeyWidth;
constexpr int kSideWidth = kScratchSize + kScratchGap + kKeysWidth;
constexpr int kPictureWidth = 2 * kMargin + 2 * kSideWidth + kSideGap;
constexpr int kPictureHeight = 2 * kMargin + kScratchSize;
constexpr int kHighlightWidth = 3;
constexpr int kScratchInset = 8;
constexpr int kLabelPointSize = 7;

const QColor kPanelColor(48, 52, 60);
const QColor kScratchColor(70, 74, 84);
const QColor kDiscColor(28, 28, 30);
const QColor kDiscRimColor(150, 150, 156);
const QColor kWhiteKeyColor(235, 235, 235);
const QColor kBlackKeyColor(30, 30, 30);
const QColor kOutlineColor(120, 120, 128);
const QColor kDarkTextColor(20, 20, 20);
const QColor kLightTextColor(225, 225, 225);

// Channels in the lane range that no controller key plays.
constexpr std::array<int32_t, 3> kUnofferedChannels = {17, 20, 27};

bool IsListedLane(int32_t channel) {
  if (channel < kFirstLaneChannel || channel > kLastLaneChannel) return false;
  for (int32_t unoffered : kUnofferedChannels) {
    if (channel == unoffered) return false;
  }
  return true;
}

// One step back through 16, 11-15, 18, 19, 21-25, 28, 29, 26 (cyclic).
int32_t PreviousLane(int32_t channel) {
  switch (channel) {
    case 11:
      return kSide1Scratch;
    case kSide1Scratch:
      return kSide2Scratch;
    case 18:
      return 15;
    case 21:
      return 19;
    case kSide2Scratch:
      return 29;
    case 28:
      return 25;
    default:
      return channel - 1;
  }
}

// One step forward through the same order.
int32_t NextLane(int32_t channel) {
  switch (channel) {
    case 15:
      return 18;
    case 19:
      return 21;
    case kSide1Scratch:
      return 11;
    case 25:
      return 28;
    case 29:
      return kSide2Scratch;
    case kSide2Scratch:
      return kSide1Scratch;
    default:
      return channel + 1;
  }
}

std::vector<int32_t> KeysOf(const KeyMap& map, int32_t channel) {
  std::vector<int32_t> keys;
  for (int32_t code = 0; code < kKeyCodeCount; ++code) {
    if (map[static_cast<size_t>(code)] == channel) keys.push_back(code);
  }
  return keys;
}

QString RowText(const KeyMap& map, int32_t channel) {
  QString text = QString::number(channel) + '\t';
  for (int32_t code : KeysOf(map, channel)) text += '[' + QString::number(code) + ']';
  return text;
}

// Inclusive on all four sides: a point on the far edge still hits.
bool ShapeContains(const QRect& rect, const QPoint& point) {
  return point.x() >= rect.x() && point.x() <= rect.x() + rect.width() && point.y() >= rect.y() &&
         point.y() <= rect.y() + rect.height();
}

}  // namespace

// A lane's place in the picture; `row` is its row in the lane list.
struct LaneShape {
  int32_t channel = 0;
  QRect rect;
  int row = 0;
};

// `picKeyDown`: draws the lanes and hands every key press and mouse press
// to the dialog.
class KeyPicture : public QWidget {
 public:
  KeyPicture(const KeyMap& working, QWidget* parent) : QWidget(parent), working_(working) {
    setObjectName("picKeyDown");
    setFixedSize(kPictureWidth, kPictureHeight);
    setFocusPolicy(Qt::StrongFocus);
    BuildShapes();
  }

  std::function<void(int32_t)> keyDown;
  std::function<void(const QPoint&)> mouseDown;

  const std::array<LaneShape, kLaneShapeCount>& shapes() const { return shapes_; }
  void MoveHighlight(const QRect& rect) {
    highlight_ = rect;
    update();
  }

 protected:
  bool event(QEvent* event) override {
    // Claimed before shortcuts and before QWidget turns Tab into a focus move.
    if (event->type() == QEvent::ShortcutOverride) {
      event->accept();
      return true;
    }
    if (event->type() == QEvent::KeyPress) {
      keyPressEvent(static_cast<QKeyEvent*>(event));
      return true;
    }
    return QWidget::event(event);
  }
  void keyPressEvent(QKeyEvent* event) override {
    event->accept();
    if (keyDown) keyDown(VirtualKeyOf(event->key(), event->modifiers() & Qt::KeypadModifier));
  }
  void mousePressEvent(QMouseEvent* event) override {
    setFocus(Qt::MouseFocusReason);
    if (mouseDown) mouseDown(event->position().toPoint());
  }
  void paintEvent(QPaintEvent*) override;

 private:
  void BuildShapes();
  void DrawShape(QPainter& painter, const LaneShape& shape, bool whiteKey);

  const KeyMap& working_;
  std::array<LaneShape, kLaneShapeCount> shapes_{};
  QRect highlight_;
};

void KeyPicture::BuildShapes() {
  // Side 1 has its turntable on the left, side 2 on the right.
  const int side1Keys = kMargin + kScratchSize + kScratchGap;
  const int side2Keys = kMargin + kSideWidth + kSideGap;
  const int lowerTop = kMargin + kKeyHeight + kRowGap;
  std::vector<LaneShape> shapes;
  shapes.push_back({kSide1Scratch, QRect(kMargin, kMargin, kScratchSize, kScratchSize), 0});
  shapes.push_back(
      {kSide2Scratch, QRect(side2Keys + kKeysWidth + kScratchGap, kMargin, kScratchSize, kScratchSize), 0});
  for (const auto& [base, left] : {std::pair{kSide1Base, side1Keys}, std::pair{kSide2Base, side2Keys}}) {
    for (size_t column = 0; column < kKeyOffsets.size(); ++column) {
      const int top = column % 2 == 0 ? lowerTop : kMargin;
      const int x = left + static_cast<int>(column) * kKeyStep;
      shapes.push_back({base + kKeyOffsets[column], QRect(x, top, kKeyWidth, kKeyHeight), 0});
    }
  }
  // The tag of a shape is its lane's row: the rank among the listed lanes.
  for (size_t i = 0; i < shapes_.size(); ++i) {
    shapes_[i] = shapes[i];
    for (int32_t channel = kFirstLaneChannel; channel < shapes[i].channel; ++channel) {
      if (IsListedLane(channel)) ++shapes_[i].row;
    }
  }
}

void KeyPicture::DrawShape(QPainter& painter, const LaneShape& shape, bool whiteKey) {
  const QRect& r = shape.rect;
  const bool scratch = shape.channel == kSide1Scratch || shape.channel == kSide2Scratch;
  if (scratch) {
    painter.fillRect(r, kScratchColor);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(QPen(kDiscRimColor, 2));
    painter.setBrush(kDiscColor);
    painter.drawEllipse(r.adjusted(kScratchInset, kScratchInset, -kScratchInset, -kScratchInset));
    painter.setRenderHint(QPainter::Antialiasing, false);
  } else {
    painter.fillRect(r, whiteKey ? kWhiteKeyColor : kBlackKeyColor);
  }
  painter.setPen(kOutlineColor);
  painter.setBrush(Qt::NoBrush);
  painter.drawRect(r.adjusted(0, 0, -1, -1));

  // The channel on top, then the key codes that play it, one per line.
  const QRect textArea = r.adjusted(kHighlightWidth, kHighlightWidth, -kHighlightWidth, -kHighlightWidth);
  painter.save();
  painter.setClipRect(textArea);
  painter.setPen(whiteKey && !scratch ? kDarkTextColor : kLightTextColor);
  const int lineHeight = painter.fontMetrics().height();
  QStringList lines{QString::number(shape.channel)};
  for (int32_t code : KeysOf(working_, shape.channel)) lines << QString::number(code);
  // Keys hang from the top of their shape; the turntable's list is centred.
  const int top = scratch ? textArea.center().y() - static_cast<int>(lines.size()) * lineHeight / 2 : textArea.y();
  QFont font = painter.font();
  for (int i = 0; i < lines.size(); ++i) {
    font.setBold(i == 0);
    painter.setFont(font);
    painter.drawText(QRect(textArea.x(), top + i * lineHeight, textArea.width(), lineHeight),
                     Qt::AlignHCenter | Qt::AlignTop, lines[i]);
  }
  painter.restore();
}

void KeyPicture::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), kPanelColor);
  QFont small = font();
  small.setPointSize(kLabelPointSize);
  painter.setFont(small);
  for (const LaneShape& shape : shapes_) {
    // Keys 1, 3, 5 and 7 (offsets 1, 3, 5, 9) are the white ones.
    const int32_t offset = shape.channel % 10;
    DrawShape(painter, shape, offset == 1 || offset == 3 || offset == 5 || offset == 9);
  }
  if (highlight_.isEmpty()) return;
  // A frame just inside the current shape's border.
  const QRect& h = highlight_;
  const QColor color = QColor::fromRgb(kLaneHighlightRgb);
  painter.fillRect(QRect(h.x(), h.y(), h.width(), kHighlightWidth), color);
  painter.fillRect(QRect(h.x(), h.bottom() - kHighlightWidth + 1, h.width(), kHighlightWidth), color);
  painter.fillRect(QRect(h.x(), h.y(), kHighlightWidth, h.height()), color);
  painter.fillRect(QRect(h.right() - kHighlightWidth + 1, h.y(), kHighlightWidth, h.height()), color);
}

KeyConfigDialog::KeyConfigDialog(KeyMap& keyMap, QWidget* parent) : QDialog(parent), keyMap_(keyMap) {
  setObjectName("frmKeyCnf");
  setWindowTitle("Key configuration");
  BuildControls();
  working_ = keyMap_;
  currentLane_ = kFirstLaneChannel;
  FillList();
  // Every lane's row in view at once.
  lstKeyList->setMinimumHeight(lstKeyList->sizeHintForRow(0) * lstKeyList->count() + 2 * lstKeyList->frameWidth());
  picKeyDown->setFocus(Qt::OtherFocusReason);
}

void KeyConfigDialog::BuildControls() {
  auto* hint = new QLabel("Pick a lane, then press the keys that play it. 1 / 2: previous / next lane.", this);
  picKeyDown = new KeyPicture(working_, this);
  picKeyDown->keyDown = [this](int32_t code) { Form_KeyDown(code); };
  picKeyDown->mouseDown = [this](const QPoint& point) { picKeyDown_MouseDown(point); };

  lstKeyList = new QListWidget(this);
  lstKeyList->setObjectName("lstKeyList");
  // The picture keeps the keyboard: every key typed here is a lane key.
  lstKeyList->setFocusPolicy(Qt::NoFocus);
  connect(lstKeyList, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) { lstKeyList_Click(item); });

  auto* buttons = new QVBoxLayout;
  const auto addButton = [&](const char* name, const QString& text, const QString& tip, auto slot) {
    auto* button = new QPushButton(text, this);
    button->setObjectName(name);
    button->setToolTip(tip);
    button->setFocusPolicy(Qt::NoFocus);
    // Enter is a lane key; it must never press a button.
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, slot);
    buttons->addWidget(button);
  };
  addButton("cmdOK", "OK", "Keep these keys and close", &KeyConfigDialog::cmdOK_Click);
  addButton("cmdCancel", "Cancel", "Close and forget the changes", &QDialog::reject);
  addButton("cmdClear", "Clear", "Remove every key from every lane", &KeyConfigDialog::cmdClear_Click);
  addButton("cmdDefault", "Default", "Go back to the default keys", &KeyConfigDialog::cmdDefault_Click);
  buttons->addStretch();

  auto* lower = new QHBoxLayout;
  lower->addWidget(lstKeyList, 1);
  lower->addLayout(buttons);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(hint);
  layout->addWidget(picKeyDown, 0, Qt::AlignHCenter);
  layout->addLayout(lower);
}

void KeyConfigDialog::SetDefault() {
  // The default table is complete: every key it does not name is 0.
  working_ = DefaultKeyMap();
}

void KeyConfigDialog::SelectLane(int32_t channel) {
  for (const LaneShape& shape : picKeyDown->shapes()) {
    if (shape.channel != channel) continue;
    currentLane_ = channel;
    lstKeyList->setCurrentRow(shape.row);
    picKeyDown->MoveHighlight(shape.rect);
    return;
  }
}

QStringList KeyConfigDialog::listRows() const {
  QStringList rows;
  for (int row = 0; row < lstKeyList->count(); ++row) rows << lstKeyList->item(row)->text();
  return rows;
}

int KeyConfigDialog::selectedRow() const { return lstKeyList->currentRow(); }

QRect KeyConfigDialog::laneShapeRect(int32_t channel) const {
  for (const LaneShape& shape : picKeyDown->shapes()) {
    if (shape.channel == channel) return shape.rect;
  }
  return {};
}

bool KeyConfigDialog::event(QEvent* event) {
  // QWidget::event would turn Tab into a focus move before keyPressEvent.
  if (event->type() == QEvent::KeyPress) {
    keyPressEvent(static_cast<QKeyEvent*>(event));
    return true;
  }
  return QDialog::event(event);
}

void KeyConfigDialog::keyPressEvent(QKeyEvent* event) {
  // Not QDialog's: Escape and Enter are lane keys, not close and accept.
  event->accept();
  Form_KeyDown(VirtualKeyOf(event->key(), event->modifiers() & Qt::KeypadModifier));
}

void KeyConfigDialog::FillList() {
  lstKeyList->clear();
  for (int32_t channel = kFirstLaneChannel; channel <= kLastLaneChannel; ++channel) {
    if (IsListedLane(channel)) lstKeyList->addItem(RowText(working_, channel));
  }
  SelectLane(currentLane_);
  picKeyDown->update();
}

void KeyConfigDialog::Form_KeyDown(int32_t keyCode) {
  if (keyCode <= kNoVirtualKey || keyCode >= kKeyCodeCount) return;
  if (keyCode == kVkPreviousLane) {
    SelectLane(PreviousLane(currentLane_));
  } else if (keyCode == kVkNextLane) {
    SelectLane(NextLane(currentLane_));
  } else {
    working_[static_cast<size_t>(keyCode)] = static_cast<int16_t>(currentLane_);
    FillList();
  }
}

void KeyConfigDialog::picKeyDown_MouseDown(const QPoint& point) {
  for (const LaneShape& shape : picKeyDown->shapes()) {
    if (ShapeContains(shape.rect, point)) {
      SelectLane(shape.channel);
      return;
    }
  }
}

void KeyConfigDialog::lstKeyList_Click(QListWidgetItem* item) {
  const int row = lstKeyList->row(item);
  for (const LaneShape& shape : picKeyDown->shapes()) {
    if (shape.row == row) {
      SelectLane(shape.channel);
      return;
    }
  }
}

void KeyConfigDialog::cmdOK_Click() {
  keyMap_ = working_;
  accept();
}

void KeyConfigDialog::cmdClear_Click() {
  working_.fill(0);
  FillList();
}

void KeyConfigDialog::cmdDefault_Click() {
  SetDefault();
  FillList();
}

}  // namespace vremo
