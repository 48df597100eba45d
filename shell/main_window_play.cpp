// MainWindow: the load sequence in timPlay's tick, the transport buttons,
// seeking by bar and by dragging, and the PlayHost side of a running play.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QStyle>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>

#include "chart/bms_reader.h"
#include "chart/chart_compiler.h"
#include "chart/chart_text.h"
#include "chart/numbers.h"
#include "display/media_prefetch.h"
#include "shell/draw_area.h"
#include "shell/load_progress.h"
#include "shell/main_window.h"
#include "shell/qt_text.h"
#include "shell/seek_bar.h"
#include "shell/title_strip.h"

namespace vremo {
namespace {

// VSync pacing: the refresh assumed when the screen reports none, how close
// to the refresh the wait stops running events and spins, and how far
// behind the loop may fall before it starts counting refreshes afresh.
constexpr double kFallbackRefreshHz = 60.0;
constexpr auto kRefreshSpinMargin = std::chrono::microseconds(1500);
constexpr auto kRefreshWaitSlice = std::chrono::milliseconds(1);
constexpr int kRefreshesBeforeResync = 4;

}  // namespace

void MainWindow::RequestPlay(const std::string& path) {
  playTag_ = path;
  timPlay->start();
}

void MainWindow::EnablePlayTimer() { timPlay->start(); }

void MainWindow::RequestStop() { engine_->RequestStop(); }

void MainWindow::SeekTo(int32_t target, bool byPosition) {
  engine_->SetPlayPosition(target, byPosition);
  if (!engine_->Playing()) DrawIdleFrame();
}

void MainWindow::timPlay_Timer() {
  timPlay->stop();
  timPlay->setInterval(kPlayTimerIntervalMs);
  if (inPlaySequence_ || loading_) {
    // A play or a load runs below this tick: the request waits for its end
    // (and cancels the load).
    playPending_ = true;
    return;
  }
  if (!lockControls_) {
    SetPlayButtonIcon(true);
    for (QPushButton* button : {cmdPlay, cmdStop, cmdFF, cmdRew, cmdReload}) button->setEnabled(true);
  }
  // A chart read the other way than the option now says is read again, and
  // so is one with random blocks, which draw anew for every play.
  if (playTag_ != chart_->path || chart_->modern != settings_.modernReading || chart_->randomDraws) {
    picTitle->ShowSongMessage("Now Loading...");
    media_->PrepareSurfaces();
    sounds_.ReleaseSounds();
    const std::optional<int32_t> loaded = LoadWithEvents();
    if (!loaded) {
      EndCancelledLoad();
      return;
    }
    if (*loaded != kLoadOk) {
      lblInfo->clear();
      log_.PutLog("BMS load error");
      SetPlayButtonIcon(false);
      for (QPushButton* button : {cmdPlay, cmdStop, cmdReload}) button->setEnabled(false);
      return;
    }
    picTitle->ShowSongInfo(*chart_);
    seekSetByProgram_ = true;
    // The bar is 16-bit: a long chart wraps the maximum, often below 0,
    // and the bar then holds only what lies between its two ends.
    const auto maximum = static_cast<int16_t>(static_cast<uint16_t>(chart_->LastY() & 0xFFFF));
    hscSeek->SetRangeAsWritten(0, maximum);
    hscSeek->SetValueIfHeld(0);
    hscSeek->setPageStep(kSeekLargeChange);
    seekSetByProgram_ = false;
    for (const std::string& line : SongInfoLines(*chart_)) log_.PutLog(line);
  }
  if (partner_) partner_("PLENGTH " + std::to_string(chart_->lengthMs));
  renderer_->RequestBgaRefresh();
  int32_t start = hscSeek->value();
  engine_->SetPlayPosition(start, true);
  for (QWidget* control : std::initializer_list<QWidget*>{chkUserRecord, cmdRecSave, cmdRecLoad}) {
    control->setEnabled(false);
  }
  inPlaySequence_ = true;
  if (playStart_) playStart_();
  picDraw->setFocus();
  engine_->StartPlay();
  ApplyAutoHide();
  while (engine_->PlayPass()) {
  }
  picDraw->SetPaced(false);
  inPlaySequence_ = false;
  if (playEnd_) playEnd_();
  ApplyAutoHide();
  SetSeekBarByProgram(0);
  SetPlayButtonIcon(false);
  if (TakePendingRequest()) return;
  if (!engine_->state().stopRequested) {
    if (quitAfterPlay_) {
      close();
      return;
    }
    // Every connected program hears of it, and the play list goes on.
    if (partner_) partner_("PNEXT");
    if (nextSong_) nextSong_();
  }
}

// The files are decoded on workers while this loop keeps the window
// answering; a stop, another chart or closing the window cancels the load.
std::optional<int32_t> MainWindow::LoadWithEvents() {
  loading_ = true;
  // Set by the request that started this load; from here on it means "stop
  // loading". The play clears it when it starts.
  engine_->state().stopRequested = false;
  LoadProgress progress(*media_, [this](const LoadCounts& counts) { ShowLoadProgress(counts); });
  LoadContext context{
      log_, progress, {settings_.noWav, settings_.noBga, settings_.realHiSpeed, settings_.modernReading, {}}, [this] {
        layoutContext_->sides = SideSwitchesOf(*chart_);
        LoadLayout();
      }};
  const std::string tag = playTag_;
  // Only a request for another chart cancels; one for this chart (Play
  // pressed while loading) is this load.
  const auto goOn = [this, &tag] {
    return !engine_->state().stopRequested && !closePending_ && !(playPending_ && playTag_ != tag);
  };
  const AheadLoad load = LoadChartAhead(tag, *chart_, context, *media_, settings_.loadThreads,
                                        [this, &goOn](const MediaPrefetch::Progress& decoding) {
                                          ShowDecodeProgress(decoding);
                                          QCoreApplication::processEvents(QEventLoop::AllEvents);
                                          return goOn();
                                        });
  prgLoad->hide();
  loading_ = false;
  if (load.result && playTag_ == tag) playPending_ = false;
  if (load.result) ShowLoadProgress(progress.counts());
  return load.result;
}

void MainWindow::EndCancelledLoad() {
  // The previous chart's media are gone: a later request loads afresh.
  chart_->path.clear();
  lblInfo->clear();
  SetPlayButtonIcon(false);
  TakePendingRequest();
}

// A close or a play asked for while the window was busy runs now.
bool MainWindow::TakePendingRequest() {
  if (closePending_) {
    close();
    return true;
  }
  if (playPending_) {
    playPending_ = false;
    timPlay->start();
    return true;
  }
  return false;
}

void MainWindow::ShowDecodeProgress(const MediaPrefetch::Progress& progress) {
  const QString file = QString::fromStdString(progress.current).section('/', -1);
  lblInfo->setText(tr("Now Loading... %1/%2 %3").arg(progress.done).arg(progress.total).arg(file));
  prgLoad->setRange(0, progress.total);
  prgLoad->setValue(progress.done);
  // Over the right half of the info line, which keeps its height.
  const QRect line = lblInfo->rect();
  prgLoad->setGeometry(line.width() / 2, 0, line.width() - line.width() / 2, line.height());
  prgLoad->show();
}

void MainWindow::ShowLoadProgress(const LoadCounts& counts) {
  lblInfo->setText(tr("Now Loading... %1 sounds, %2 pictures").arg(counts.sounds).arg(counts.pictures));
  // The reader holds the event loop: paint the progress and the log now.
  for (QWidget* widget :
       {static_cast<QWidget*>(lblInfo), static_cast<QWidget*>(txtStatus), static_cast<QWidget*>(picTitle)}) {
    if (widget->isVisible()) widget->repaint();
  }
}

void MainWindow::SetPlayButtonIcon(bool playing) {
  cmdPlay->setIcon(style()->standardIcon(playing ? QStyle::SP_MediaPlay : QStyle::SP_MediaPause));
}

void MainWindow::cmdPlay_Click() {
  picDraw->setFocus();
  if (engine_->state().running) return;
  int32_t start = hscSeek->value();
  engine_->SetPlayPosition(start, true);
  timPlay->start();
}

void MainWindow::cmdStop_Click() {
  engine_->RequestStop();
  SetPlayButtonIcon(false);
}

void MainWindow::cmdReload_Click() {
  // Forgetting the loaded path makes the next tick load the file again.
  engine_->RequestStop();
  chart_->path.clear();
  timPlay->start();
}

void MainWindow::cmdOpen_Click() {
  const QString path = QFileDialog::getOpenFileName(this, tr("Open a chart"), QString::fromStdString(chart_->directory),
                                                    tr("BMS charts (*.bms *.bme *.bml);;All files (*)"));
  if (path.isEmpty()) return;
  engine_->RequestStop();
  RequestPlay(path.toStdString());
}

void MainWindow::hscSeek_Change(int value) {
  if (seekSetByProgram_) return;
  int32_t target = value;
  engine_->SetPlayPosition(target, true);
  DrawIdleFrame();
}

void MainWindow::DrawIdleFrame() {
  if (minimised_ || media_->back() == nullptr) return;
  renderer_->DrawFrame(engine_->state().nextObject);
}

void MainWindow::cmbFreq_Change() {
  const auto factor = ParseNumber(FromUtf8(cmbFreq->currentText().toStdString()));
  if (!factor || *factor == 0.0) return;
  engine_->ChangeSpeed(*factor);
  settings_.realHiSpeed = static_cast<float>(*factor);
  for (int slot = 0; slot < kMaxMediaSlots; ++slot) {
    if (!sounds_.HasSound(slot)) continue;
    if (auto rate = RoundToInt32(sounds_.BaseFrequency(slot) * *factor)) sounds_.SetFrequency(slot, *rate);
  }
}

void MainWindow::chkUserPlay_Click() {
  if (engine_->state().running) picDraw->setFocus();
  // The player's own presses replace the automatic key sounds.
  chkSet[5]->setChecked(!settings_.userPlay);
  chkSet[6]->setChecked(false);
  if (settings_.userPlay) picDraw->setFocus();
}

void MainWindow::chkUserRecord_Click() {
  const bool on = chkUserRecord->isChecked();
  if (on) {
    chkUserPlay->setChecked(true);
    chkSet[6]->setChecked(false);
    chkSet[7]->setChecked(false);
  }
  for (QWidget* control : std::initializer_list<QWidget*>{chkSet[6], chkSet[7], cmdRecLoad, cmdRecSave, chkUserPlay}) {
    control->setEnabled(!on);
  }
  chkSet[5]->setChecked(false);
}

// --- Dragging the play field.

void MainWindow::picDraw_Pressed(int x, int y) {
  if (settings_.polMode) {
    const int slot = (y / kOverviewCellPixels) * kOverviewColumns + x / kOverviewCellPixels;
    if (slot >= 0 && slot < kMaxMediaSlots && sounds_.HasSound(slot)) sounds_.Restart(slot, 0.0);
    return;
  }
  PlayState& state = engine_->state();
  state.dragging = true;
  lastMouseY_ = y;
  if (auto value = RoundToInt16(state.currentPosition)) SetSeekBarByProgram(*value);
}

void MainWindow::picDraw_Dragged(int, int y) {
  PlayState& state = engine_->state();
  if (!state.dragging || settings_.hiSpeed == 0.0f) return;
  const double last = chart_->LastY();
  state.currentPosition = std::clamp(state.currentPosition + (y - lastMouseY_) / settings_.hiSpeed, 0.0, last);
  lastMouseY_ = y;
  if (auto value = RoundToInt16(state.currentPosition)) hscSeek->SetValueIfHeld(*value);
}

void MainWindow::picDraw_Released(int, int) {
  PlayState& state = engine_->state();
  if (!state.dragging) return;
  state.dragging = false;
  int32_t target = hscSeek->value();
  engine_->SetPlayPosition(target, true);
}

// --- PlayHost.

void MainWindow::ProcessMessages() { QCoreApplication::processEvents(QEventLoop::AllEvents); }

void MainWindow::Sleep(int32_t ms) {
  picDraw->SetPaced(false);  // VSync off, or the wait for the last sounds: frames show as drawn
  if (ms > 0) std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// Waits for the display's next refresh, on a steady grid of refresh periods:
// events run while it is far off, the last stretch is spun for precision;
// then the next frame drawn is painted at once. Pacing follows the setting
// pass by pass, so VSync may be switched during a play.
void MainWindow::WaitForRefresh(int32_t) {
  using SteadyTime = std::chrono::steady_clock;
  picDraw->SetPaced(true);
  const QScreen* screen = picDraw->screen();
  const double hz = screen != nullptr && screen->refreshRate() > 1.0 ? screen->refreshRate() : kFallbackRefreshHz;
  const auto period = std::chrono::duration_cast<SteadyTime::duration>(std::chrono::duration<double>(1.0 / hz));
  const auto now = SteadyTime::now();
  if (now - nextRefresh_ > period * kRefreshesBeforeResync) nextRefresh_ = now;
  while (nextRefresh_ <= now) nextRefresh_ += period;
  while (nextRefresh_ - SteadyTime::now() > kRefreshSpinMargin) {
    ProcessMessages();
    std::this_thread::sleep_for(kRefreshWaitSlice);
  }
  while (SteadyTime::now() < nextRefresh_) std::this_thread::yield();
  picDraw->ArmPresent();
}

bool MainWindow::CountsPresentedFrames() const { return picDraw->paced(); }

void MainWindow::ShowSongInfo(std::string_view text) { lblInfo->setText(ToQString(text)); }

void MainWindow::SetSeekBarByProgram(int16_t position) {
  seekSetByProgram_ = true;
  hscSeek->SetValueIfHeld(position);
  seekSetByProgram_ = false;
}

void MainWindow::StartPlayTimer() { playTimer_->start(); }

void MainWindow::KillPlayTimer() { playTimer_->stop(); }

void MainWindow::PlayControlsEnabled() {
  for (QWidget* control : std::initializer_list<QWidget*>{chkUserRecord, cmdRecSave, cmdRecLoad}) {
    control->setEnabled(true);
  }
}

void MainWindow::RecordingEnded() {
  chkUserRecord->setChecked(false);
  chkUserRecord_Click();
}

}  // namespace vremo
