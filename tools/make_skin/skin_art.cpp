// Drawing the default skin.
#include "tools/make_skin/skin_art.h"

#include <QFont>
#include <QFontDatabase>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

#include <array>
#include <string>

#include "display/layout.h"
#include "display/pixel_font.h"
#include "tools/make_skin/skin_layout.h"

namespace vremo::skin {
namespace {

constexpr const char* kBoldFontFile = "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf";
constexpr const char* kFallbackFamily = "Sans Serif";
// Nothing drawn may be pure black, or it would vanish: the darkest colour.
const QColor kOutline(14, 14, 22);

struct NoteColours {
  QColor top;
  QColor bottom;
  QColor edge;
};

// A rounded bar with a light top edge and a darker rim.
void DrawNote(QPainter& painter, const Piece& piece, const NoteColours& colours) {
  QLinearGradient fill(0, piece.y, 0, piece.y + piece.height);
  fill.setColorAt(0.0, colours.top);
  fill.setColorAt(1.0, colours.bottom);
  const QRect body(piece.x, piece.y, piece.width, piece.height);
  painter.fillRect(body, fill);
  painter.setPen(colours.edge);
  painter.drawRect(body.adjusted(0, 0, -1, -1));
  painter.setPen(colours.top.lighter(115));
  painter.drawLine(piece.x + 1, piece.y + 1, piece.x + piece.width - 2, piece.y + 1);
  // Rounded corners: the corner pixels become transparent.
  painter.setPen(Qt::black);
  for (const QPoint corner :
       {QPoint(piece.x, piece.y), QPoint(piece.x + piece.width - 1, piece.y),
        QPoint(piece.x, piece.y + piece.height - 1), QPoint(piece.x + piece.width - 1, piece.y + piece.height - 1)}) {
    painter.drawPoint(corner);
  }
}

void DrawNotes(QPainter& painter) {
  DrawNote(painter, kWhiteNote, {QColor(250, 250, 255), QColor(160, 166, 184), QColor(96, 100, 118)});
  DrawNote(painter, kBlueNote, {QColor(130, 180, 255), QColor(36, 76, 210), QColor(18, 34, 120)});
  DrawNote(painter, kScratchNote, {QColor(255, 120, 108), QColor(196, 22, 34), QColor(112, 10, 20)});
  DrawNote(painter, kFreeNote, {QColor(206, 160, 255), QColor(112, 60, 176), QColor(60, 30, 100)});
  painter.fillRect(QRect(kBarLine.x, kBarLine.y, kBarLine.width, kBarLine.height), QColor(112, 112, 124));
}

// A landmine: red and dark hazard stripes inside a bright red rim, corners
// transparent like the notes'.
void DrawMine(QImage& skin, const Piece& piece) {
  constexpr int kStripeWidth = 3;
  const QRgb rim = qRgb(255, 70, 60);
  const QRgb stripe = qRgb(214, 24, 30);
  const QRgb dark = qRgb(40, 18, 24);
  const int right = piece.width - 1;
  const int bottom = piece.height - 1;
  for (int y = 0; y <= bottom; ++y) {
    for (int x = 0; x <= right; ++x) {
      const bool edgeX = x == 0 || x == right;
      const bool edgeY = y == 0 || y == bottom;
      if (edgeX && edgeY) continue;
      const QRgb colour = edgeX || edgeY ? rim : ((x + y) / kStripeWidth) % 2 == 0 ? stripe : dark;
      skin.setPixel(piece.x + x, piece.y + y, colour);
    }
  }
}

void DrawMines(QImage& skin) {
  for (const Piece& piece : {kWhiteMine, kBlueMine, kScratchMine}) DrawMine(skin, piece);
}

QFont WordFont(int pixelSize) {
  static const int fontId = QFontDatabase::addApplicationFont(kBoldFontFile);
  const QStringList families = QFontDatabase::applicationFontFamilies(fontId);
  QFont font(families.isEmpty() ? QString(kFallbackFamily) : families.first());
  font.setPixelSize(pixelSize);
  font.setBold(true);
  font.setHintingPreference(QFont::PreferFullHinting);
  return font;
}

// A word centred in its cell: dark outline, vertical gradient fill.
void DrawWord(QPainter& painter, const QRect& cell, const QString& word, const QFont& font, const QColor& top,
              const QColor& bottom, qreal spacing) {
  QFont spaced = font;
  spaced.setLetterSpacing(QFont::AbsoluteSpacing, spacing);
  QPainterPath path;
  path.addText(0, 0, spaced, word);
  const QRectF bounds = path.boundingRect();
  path.translate(cell.x() + (cell.width() - bounds.width()) / 2.0 - bounds.x(),
                 cell.y() + (cell.height() - bounds.height()) / 2.0 - bounds.y());
  painter.save();
  painter.setClipRect(cell);
  painter.setRenderHint(QPainter::Antialiasing, true);
  painter.strokePath(path, QPen(kOutline, 2.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  QLinearGradient fill(0, cell.y() + 2, 0, cell.y() + cell.height() - 2);
  fill.setColorAt(0.0, top);
  fill.setColorAt(1.0, bottom);
  painter.fillPath(path, fill);
  painter.restore();
}

void DrawJudgements(QPainter& painter) {
  struct Word {
    const char* text;
    QColor top;
    QColor bottom;
  };
  // The judgement colours of play records: red, magenta, blue, green.
  const std::array<Word, 4> words = {{{"POOR", QColor(255, 120, 110), QColor(190, 0, 0)},
                                      {"BAD", QColor(255, 140, 255), QColor(160, 0, 170)},
                                      {"GOOD", QColor(140, 190, 255), QColor(20, 70, 235)},
                                      {"GREAT", QColor(170, 255, 160), QColor(0, 176, 40)}}};
  const QFont font = WordFont(kJudgeHeight - 1);
  for (size_t i = 0; i < words.size(); ++i) {
    const QRect cell(kJudgeColumn, kJudgeTop + static_cast<int>(i) * kJudgeHeight, kJudgeWidth, kJudgeHeight);
    DrawWord(painter, cell, words[i].text, font, words[i].top, words[i].bottom, 1.0);
  }
  // fGreat flashes: gold, white-hot, gold, ice; one frame every 50 ms.
  const std::array<QColor, kFGreatFrames> tops = {QColor(255, 255, 190), QColor(255, 255, 255), QColor(255, 244, 150),
                                                  QColor(230, 255, 255)};
  const std::array<QColor, kFGreatFrames> bottoms = {QColor(235, 160, 0), QColor(255, 214, 120), QColor(220, 130, 0),
                                                     QColor(90, 200, 255)};
  for (int frame = 0; frame < kFGreatFrames; ++frame) {
    const QRect cell(kFGreatColumn, kJudgeTop + frame * kJudgeHeight, kJudgeWidth, kJudgeHeight);
    DrawWord(painter, cell, "FGREAT", font, tops[static_cast<size_t>(frame)], bottoms[static_cast<size_t>(frame)], 0.5);
  }
}

void DrawDigits(QPainter& painter) {
  const QFont font = WordFont(kDigitHeight);
  for (int digit = 0; digit < kDigitImages; ++digit) {
    const QRect cell(kDigits.x + digit * kDigitWidth, kDigits.y, kDigitWidth, kDigitHeight);
    DrawWord(painter, cell, QString::number(digit), font, QColor(255, 255, 255), QColor(120, 210, 255), 0.0);
  }
}

// The empty strip is a dim track with a tick every 10 %; the full strip runs
// from blue to red past 80 %, so the bar's colour tells the value.
void DrawGaugeStrips(QPainter& painter) {
  constexpr int kTickEvery = 10;
  constexpr int kDangerPercent = 80;
  const QRect empty(kGaugeStripEmpty.left, kGaugeStripEmpty.top, kGaugeStripEmpty.Width(), kGaugeStripEmpty.Height());
  const QRect full(kGaugeStripFull.left, kGaugeStripFull.top, kGaugeStripFull.Width(), kGaugeStripFull.Height());
  painter.fillRect(empty, QColor(28, 30, 40));
  painter.setPen(QColor(72, 76, 92));
  painter.drawRect(empty.adjusted(0, 0, -1, -1));
  painter.setPen(QColor(48, 50, 64));
  for (int x = kTickEvery; x < empty.width() - 1; x += kTickEvery)
    painter.drawLine(x, empty.top() + 2, x, empty.bottom() - 2);
  for (int x = 0; x < full.width(); ++x) {
    const bool danger = x >= kDangerPercent;
    QLinearGradient column(0, full.top(), 0, full.bottom());
    column.setColorAt(0.0, danger ? QColor(255, 150, 140) : QColor(150, 220, 255));
    column.setColorAt(0.5, danger ? QColor(236, 36, 40) : QColor(30, 140, 255));
    column.setColorAt(1.0, danger ? QColor(150, 10, 20) : QColor(16, 70, 170));
    painter.fillRect(QRect(x, full.top(), 1, full.height()), column);
  }
}

// The 3 x 5 font in the cells the layout's font table points at.
void DrawFontCells(QImage& skin) {
  const QRgb ink = qRgb(236, 240, 248);
  for (int code = kFontFirstCode; code <= kFontLastCode; ++code) {
    const int left = (code % kFontCodesPerRow - 1) * kFontCellWidth;
    const int top = code / kFontCodesPerRow * kFontCellHeight + kFontTopOffset;
    if (left < 0) continue;  // the cell of a multiple of 32 lies off the picture
    for (int y = 0; y < kFontCellHeight; ++y) {
      for (int x = 0; x < kFontCellWidth; ++x) {
        if (PixelGlyphBit(static_cast<char32_t>(code), x, y)) skin.setPixel(left + x, top + y, ink);
      }
    }
  }
}

}  // namespace

QImage DrawSkin() {
  QImage skin(kSkinWidth, kSkinHeight, QImage::Format_RGB32);
  skin.fill(Qt::black);
  {
    QPainter painter(&skin);
    DrawNotes(painter);
    DrawJudgements(painter);
    DrawDigits(painter);
    DrawGaugeStrips(painter);
  }
  DrawFontCells(skin);
  DrawMines(skin);
  return skin;
}

}  // namespace vremo::skin
