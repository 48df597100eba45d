// TitleStrip: the song message, the song information and the log line.
#include "shell/title_strip.h"

#include <QFontMetrics>
#include <QPainter>

namespace vremo {
namespace {

constexpr QColor kMessageColour{0, 255, 0};
constexpr QColor kMessageRuleColour{0, 128, 0};
constexpr QColor kInfoRuleColour{0, 0, 128};
constexpr QColor kTitleColour{0, 192, 255};
constexpr QColor kPlayerColour{0, 255, 255};
constexpr QColor kLogColour{160, 160, 160};
constexpr int kMaxStars = 6;
constexpr int kLineGap = 2;
constexpr int kMargin = 2;

// The level stars run from yellow at the first to red at the last.
QColor RampColour(int index, int count) {
  if (count <= 1) return QColor(255, 255, 0);
  return QColor(255, 255 - 255 * index / (count - 1), 0);
}

}  // namespace

QString RankText(int16_t rank) {
  switch (rank) {
    case 0:
      return "VeryHard";
    case 1:
      return "Hard";
    case 2:
      return "Normal";
    case 3:
      return "Easy";
    default:
      return "?????";
  }
}

QString PlayerText(int16_t player) {
  switch (player) {
    case 0:
    case 1:
      return "1 Player";
    case 2:
      return "2 Players";
    case 3:
      return "Double";
    case 4:
      return "Battle";
    default:
      return "Unknown";
  }
}

std::vector<TitleRun> SongInfoRuns(const Chart& chart) {
  std::vector<TitleRun> runs;
  runs.push_back({"[" + RankText(static_cast<int16_t>(chart.rank)) + "] ", kTitleColour});
  const int level = static_cast<int16_t>(chart.playLevel);
  // A level above six has no room for empty stars; a negative one no stars.
  const int filled = std::max(level, 0);
  const int empty = level >= 0 && level <= kMaxStars ? kMaxStars - level : 0;
  const int count = filled + empty;
  for (int i = 0; i < filled; ++i) runs.push_back({QString::fromUtf8("★"), RampColour(i, count)});
  for (int i = 0; i < empty; ++i) runs.push_back({QString::fromUtf8("☆"), RampColour(filled + i, count)});
  runs.push_back({PlayerText(static_cast<int16_t>(chart.player)), kPlayerColour});
  return runs;
}

TitleStrip::TitleStrip(QWidget* parent) : QWidget(parent) {
  setObjectName("picTitle");
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMinimumHeight(3 * fontMetrics().height() + 4 * kLineGap);
}

void TitleStrip::ShowSongMessage(const QString& text) {
  mode_ = Mode::kMessage;
  firstLine_ = text;
  runs_.clear();
  repaint();
}

void TitleStrip::ShowSongInfo(const Chart& chart) {
  mode_ = Mode::kSongInfo;
  firstLine_ = QString::fromStdString(chart.title) + " - " + QString::fromStdString(chart.artist);
  runs_ = SongInfoRuns(chart);
  repaint();
}

void TitleStrip::Curtitle(const QString& text) {
  logLine_ = text;
  update();
}

QString TitleStrip::secondLine() const {
  QString line;
  for (const TitleRun& run : runs_) line += run.text;
  return line;
}

void TitleStrip::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), Qt::black);
  const QFontMetrics metrics(font());
  const int lineHeight = metrics.height();
  int y = kMargin;
  if (mode_ == Mode::kMessage) {
    painter.fillRect(0, 0, width(), metrics.height() / 3, kMessageRuleColour);
    y += metrics.height() / 3;
    painter.setPen(kMessageColour);
    painter.drawText(kMargin, y + metrics.ascent(), firstLine_);
  } else if (mode_ == Mode::kSongInfo) {
    painter.fillRect(0, 0, width(), metrics.boundingRect("!").height(), kInfoRuleColour);
    painter.setPen(kTitleColour);
    painter.drawText(kMargin, y + metrics.ascent(), firstLine_);
    y += lineHeight + kLineGap;
    int x = kMargin;
    for (const TitleRun& run : runs_) {
      painter.setPen(run.colour);
      painter.drawText(x, y + metrics.ascent(), run.text);
      x += metrics.horizontalAdvance(run.text);
    }
  }
  painter.setPen(kLogColour);
  painter.drawText(kMargin, height() - kMargin - metrics.descent(), logLine_);
}

}  // namespace vremo
