#pragma once
// `picTitle`, the title strip above the drawing area: the song message
// ("Now Loading..."), the song information after a load (title - artist,
// rank, level stars, player) and the latest log line. The main window
// draws into it; the texts are kept so tests and the tray can read them.
// UI thread only.

#include <QColor>
#include <QString>
#include <QWidget>
#include <vector>

#include "chart/chart.h"

namespace vremo {

// One coloured run of the song information.
struct TitleRun {
  QString text;
  QColor colour;
};

// The second line of the song information: rank in brackets, stars, player.
std::vector<TitleRun> SongInfoRuns(const Chart& chart);
QString RankText(int16_t rank);
QString PlayerText(int16_t player);

class TitleStrip : public QWidget {
  Q_OBJECT

 public:
  explicit TitleStrip(QWidget* parent = nullptr);

  // Green text under a dark green rule.
  void ShowSongMessage(const QString& text);
  // Title and artist, then SongInfoRuns.
  void ShowSongInfo(const Chart& chart);
  // The log line shown under the song (Curtitle).
  void Curtitle(const QString& text);

  QString firstLine() const { return firstLine_; }
  QString secondLine() const;
  QString logLine() const { return logLine_; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  enum class Mode { kEmpty, kMessage, kSongInfo };
  Mode mode_ = Mode::kEmpty;
  QString firstLine_;
  std::vector<TitleRun> runs_;
  QString logLine_;
};

}  // namespace vremo
