// MainWindow: construction, the layout of the drawing side and the
// transport bar, start-up and shut-down, the debug log sink.
#include "shell/main_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>
#include <filesystem>

#include "shell/control_helpers.h"
#include "shell/draw_area.h"
#include "shell/key_map_file.h"
#include "shell/program_folder.h"
#include "shell/qt_text.h"
#include "shell/seek_bar.h"
#include "shell/settings_file.h"
#include "shell/title_strip.h"
#include "shell/window_placement.h"

namespace vremo {
namespace {

constexpr int kInitialDrawSize = 512;
constexpr int kLogMinimumHeight = 80;

// Asks for the whole options panel (a plain scroll area caps its wish at a
// few dozen lines) and scrolls only when the window is shorter.
class OptionsScroll : public QScrollArea {
 public:
  QSize sizeHint() const override {
    const QSize panel = widget() != nullptr ? widget()->sizeHint() : QSize();
    return panel + QSize(verticalScrollBar()->sizeHint().width() + 2 * frameWidth(), 2 * frameWidth());
  }
};

}  // namespace

MainWindow::MainWindow(std::string programFolder)
    : programFolder_(programFolder.empty() ? ProgramFolder() : std::move(programFolder)),
      log_(this),
      chart_(std::make_unique<Chart>()) {
  setObjectName("frmMain");
  setWindowTitle(ToQString(kCaptionPrefix));
  setAcceptDrops(true);
  media_ = std::make_unique<MediaLayer>(log_, &sounds_);
  layoutContext_ = std::make_unique<LayoutContext>(LayoutContext{log_, *media_, {}, [this](bool full) {
                                                                   if (!fullScreen()) SetScreenMode(full);
                                                                 }});
  engine_ = std::make_unique<PlayEngine>(*chart_, settings_, sounds_, clock_, log_, *this);
  engine_->SetScoreLogFolder(programFolder_);
  renderer_ = std::make_unique<FrameRenderer>(*engine_, *media_, layout_, sounds_);
  engine_->SetFrameDrawer(renderer_.get());
  laneKeys_ = std::make_unique<LaneKeyInput>(*engine_, keyMap_);

  timPlay = new QTimer(this);
  timPlay->setObjectName("timPlay");
  timPlay->setInterval(kPlayTimerIntervalMs);
  connect(timPlay, &QTimer::timeout, this, &MainWindow::timPlay_Timer);
  playTimer_ = new QTimer(this);
  playTimer_->setInterval(kPlayTimerPeriodMs);
  playTimer_->setTimerType(Qt::PreciseTimer);
  connect(playTimer_, &QTimer::timeout, this, [this] { engine_->PlayTimerProc(); });
  PreperForm();
  renderer_->SetPresenter(picDraw);
  qApp->installEventFilter(this);
}

MainWindow::~MainWindow() {
  qApp->removeEventFilter(this);
  // The renderer and engine refer to the chart and media: go first.
  renderer_.reset();
  laneKeys_.reset();
  engine_.reset();
}

// --- Controls.

void MainWindow::PreperForm() {
  auto* central = new QWidget;
  auto* columns = new QHBoxLayout(central);
  columns->setContentsMargins(kWindowMargin, kWindowMargin, kWindowMargin, kWindowMargin);

  auto* left = new QVBoxLayout;
  picTitle = new TitleStrip;
  picTitle->setToolTip(tr("Song title, level and the latest log line"));
  picDraw = new DrawArea;
  picDraw->setToolTip(tr("Play field. Drag to move through the song; double-click for full screen"));
  picDraw->resize(kInitialDrawSize, kInitialDrawSize);
  picDraw->setMinimumSize(kSizeUnitPixels, kSizeUnitPixels);
  // All extra height goes to the drawing area, none to the bars below it.
  picDraw->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  connect(picDraw, &DrawArea::Resized, this, &MainWindow::DispResizeNow);
  connect(picDraw, &DrawArea::DoubleClicked, this, [this] { SetScreenMode(!fullScreen()); });
  connect(picDraw, &DrawArea::LeftPressed, this, &MainWindow::picDraw_Pressed);
  connect(picDraw, &DrawArea::LeftDragged, this, &MainWindow::picDraw_Dragged);
  connect(picDraw, &DrawArea::LeftReleased, this, &MainWindow::picDraw_Released);
  connect(picDraw, &DrawArea::FramePresented, this, [this] { engine_->CountPresentedFrame(); });
  hscSeek = new SeekBar;
  hscSeek->setObjectName("hscSeek");
  hscSeek->setToolTip(tr("Position in the song (chart units)"));
  hscSeek->setPageStep(kSeekLargeChange);
  hscSeek->setFocusPolicy(Qt::NoFocus);
  connect(hscSeek, &QScrollBar::valueChanged, this, &MainWindow::hscSeek_Change);
  lblInfo = new QLabel;
  lblInfo->setObjectName("lblInfo");
  lblInfo->setToolTip(tr("Frame rate, measure and position while playing"));
  prgLoad = new QProgressBar(lblInfo);
  prgLoad->setObjectName("prgLoad");
  prgLoad->setFormat("%v/%m");
  prgLoad->hide();
  left->addWidget(picTitle);
  left->addWidget(picDraw, 1);
  left->addWidget(hscSeek);
  QWidget* transport = MakeTransportBar();
  left->addWidget(transport);
  left->addWidget(lblInfo);
  for (QWidget* bar : {static_cast<QWidget*>(transport), static_cast<QWidget*>(lblInfo)}) {
    bar->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  }

  auto* rightPanel = new QWidget;
  auto* right = new QVBoxLayout(rightPanel);
  right->setContentsMargins(0, 0, 0, 0);
  // The options scroll when the window is short, so any size fits.
  auto* options = new OptionsScroll;
  options->setWidget(MakeOptionsPanel());
  options->setWidgetResizable(true);
  options->setFrameShape(QFrame::NoFrame);
  options->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  options->setMinimumWidth(options->widget()->minimumSizeHint().width());
  options->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
  right->addWidget(options);
  txtStatus = new QPlainTextEdit;
  txtStatus->setObjectName("txtStatus");
  txtStatus->setReadOnly(true);
  txtStatus->setToolTip(tr("Debug log: what the player did and every error it skipped"));
  txtStatus->setMinimumHeight(kLogMinimumHeight);
  txtStatus->setFocusPolicy(Qt::NoFocus);
  right->addWidget(txtStatus, 1);
  lblCap = new QLabel;
  lblCap->setObjectName("lblCap");
  lblCap->setToolTip(tr("Size of the drawing area"));
  right->addWidget(lblCap);

  // Extra room goes to the drawing area, so cmbSize's sizes come out exact.
  columns->addLayout(left, 1);
  columns->addWidget(rightPanel, 0);
  hideable_ = {rightPanel, hscSeek, transport, lblInfo};
  setCentralWidget(central);
  resize(kInitialDrawSize + 420, kInitialDrawSize + 160);
  MakeTrayIcon();
}

QWidget* MainWindow::MakeTransportBar() {
  auto* bar = new QWidget;
  auto* row = new QHBoxLayout(bar);
  row->setContentsMargins(0, 0, 0, 0);
  // Icons only: the bar must fit under the smallest drawing area.
  cmdRew = MakeButton("cmdRew", {}, tr("Previous chart of the play list (F1)"));
  cmdPlay = MakeButton("cmdPlay", {}, tr("Play from the seek bar's position (F2)"));
  cmdStop = MakeButton("cmdStop", {}, tr("Stop playing (F3)"));
  cmdFF = MakeButton("cmdFF", {}, tr("Next chart of the play list (F4)"));
  cmdReload = MakeButton("cmdReload", {}, tr("Load the current chart again (F5)"));
  cmdOpen = MakeButton("cmdOpen", {}, tr("Open a chart file (F9)"));
  cmdReload->setIcon(style()->standardIcon(QStyle::SP_BrowserReload));
  cmdOpen->setIcon(style()->standardIcon(QStyle::SP_DialogOpenButton));
  SetPlayButtonIcon(false);
  cmdStop->setIcon(style()->standardIcon(QStyle::SP_MediaStop));
  cmdRew->setIcon(style()->standardIcon(QStyle::SP_MediaSkipBackward));
  cmdFF->setIcon(style()->standardIcon(QStyle::SP_MediaSkipForward));
  for (QPushButton* button : {cmdPlay, cmdStop, cmdFF, cmdRew, cmdReload}) button->setEnabled(false);
  connect(cmdPlay, &QPushButton::clicked, this, &MainWindow::cmdPlay_Click);
  connect(cmdStop, &QPushButton::clicked, this, &MainWindow::cmdStop_Click);
  connect(cmdReload, &QPushButton::clicked, this, &MainWindow::cmdReload_Click);
  connect(cmdOpen, &QPushButton::clicked, this, &MainWindow::cmdOpen_Click);
  connect(cmdFF, &QPushButton::clicked, this, [this] {
    if (nextSong_) nextSong_();
  });
  connect(cmdRew, &QPushButton::clicked, this, [this] {
    if (previousSong_) previousSong_();
  });
  cmdPlayList = MakeButton("cmdPlayList", {}, tr("Show the play list"));
  cmdPlayList->setIcon(style()->standardIcon(QStyle::SP_FileDialogListView));
  cmdPlayList->setEnabled(false);
  connect(cmdPlayList, &QPushButton::clicked, this, [this] {
    if (playListWindow_ == nullptr) return;
    playListWindow_->show();
    playListWindow_->raise();
    playListWindow_->activateWindow();
  });
  for (QPushButton* button : {cmdRew, cmdPlay, cmdStop, cmdFF, cmdReload, cmdOpen, cmdPlayList}) row->addWidget(button);
  row->addStretch(1);
  return bar;
}

// --- Start-up and shut-down.

void MainWindow::StartUp() {
  // Real-time scheduling is not asked for here: a desktop user may not
  // grant it, and the play loop paces itself by the clock.
  log_.PutLog("process priority: normal (real-time not requested)");
  show();
  FillRectList();
  media_->InitDirectDraw();
  audio_.Open(log_);
  settings_ = UnsetSettings();
  const bool hadFile = ReadSettings(programFolder_ + "/" + std::string(kSettingsFileName), settings_, log_);
  if (hadFile) ApplyPlacement(*this, settings_.mainForm);
  // The block the device can take, shown as such by its list.
  settings_.audioBufferFrames = AudioBlockFramesFor(settings_.audioBufferFrames);
  ApplyAudioBuffer();
  ApplySettingsToControls();
  LoadLayout();
  DispResizeNow();
  keyMap_ = LoadKeyMap(programFolder_ + "/" + std::string(kKeyMapFileName), log_);
  log_.PutLog("--------------------");
  log_.PutLog("Initialize complete.");
  DrawIdleFrame();
}

// A block other than the one the device was opened with takes effect by
// opening it again (sounding voices stop; the loaded sounds stay).
void MainWindow::ApplyAudioBuffer() {
  if (AudioBlockFramesFor(settings_.audioBufferFrames) == audio_.requestedFrames()) return;
  audio_.Open(log_, kDeviceSampleRate, settings_.audioBufferFrames);
}

void MainWindow::Quit() { close(); }

void MainWindow::closeEvent(QCloseEvent* event) {
  if (inPlaySequence_ || loading_) {
    // The play loop or a load runs below this handler: end it first, close
    // after.
    closePending_ = true;
    engine_->RequestStop();
    event->ignore();
    return;
  }
  ShutDown();
  event->accept();
}

void MainWindow::ShutDown() {
  if (shutDownDone_) return;
  shutDownDone_ = true;
  if (shutdown_) shutdown_();
  ReadControlsIntoSettings();
  media_->ReleaseMemories();
  SaveKeyMap(programFolder_ + "/" + std::string(kKeyMapFileName), keyMap_, log_);
  WriteSettings(programFolder_ + "/" + std::string(kSettingsFileName), settings_, &log_);
  if (unload_) unload_();
  if (tray_ != nullptr) tray_->hide();
}

void MainWindow::CheckNoWav() { chkSet[0]->setChecked(true); }
void MainWindow::CheckNoBga() { chkSet[1]->setChecked(true); }

// --- The debug log.

void MainWindow::AppendLine(std::string_view line) {
  const QString text = ToQString(line);
  txtStatus->appendPlainText(text);
  picTitle->Curtitle(text);
}

void MainWindow::ReplaceText(std::string_view text) { txtStatus->setPlainText(ToQString(text)); }

void MainWindow::CaptionChanged(std::string_view caption, std::string_view text) {
  setWindowTitle(ToQString(caption));
  ModifyIcon(ToQString(text));
}

std::string MainWindow::Caption() const { return windowTitle().toStdString(); }

void MainWindow::SetCaptionText(const std::string& text) { setWindowTitle(QString::fromStdString(text)); }

}  // namespace vremo
