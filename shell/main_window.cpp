// MainWindow: construction, the controls and their bindings to Settings,
// start-up and shut-down, the debug log sink.
#include "shell/main_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSplitter>
#include <QStackedWidget>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>
#include <filesystem>
#include <set>

#include "chart/chart_text.h"
#include "chart/numbers.h"
#include "shell/draw_area.h"
#include "shell/key_config_dialog.h"
#include "shell/key_map_file.h"
#include "shell/program_folder.h"
#include "shell/settings_file.h"
#include "shell/snapshot_mode.h"
#include "shell/title_strip.h"
#include "shell/window_placement.h"

namespace vremo {
namespace {

const QStringList kHiSpeedItems = {"0.5", "0.75", "1",   "1.25", "1.5", "1.75", "2",
                                   "2.5", "3",    "3.5", "4",    "5",   "6",    "8"};
const QStringList kFreqItems = {"0.5", "0.6",  "0.7", "0.75", "0.8", "0.9",  "1", "1.1",
                                "1.2", "1.25", "1.3", "1.4",  "1.5", "1.75", "2"};
const QStringList kSleepItems = {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "15", "20"};
const QStringList kSizeItems = {"1", "1.25", "1.5", "1.75", "2", "2.5", "3"};
constexpr int kInitialDrawSize = 512;
constexpr int kLogMinimumHeight = 80;

QPushButton* Button(const QString& name, const QString& text, const QString& tip) {
  auto* button = new QPushButton(text);
  button->setObjectName(name);
  button->setToolTip(tip);
  button->setFocusPolicy(Qt::NoFocus);
  return button;
}

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
  setWindowTitle(QString::fromUtf8(kCaptionPrefix.data(), static_cast<int>(kCaptionPrefix.size())));
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
  columns->setContentsMargins(4, 4, 4, 4);

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
  hscSeek = new QScrollBar(Qt::Horizontal);
  hscSeek->setObjectName("hscSeek");
  hscSeek->setToolTip(tr("Position in the song (chart units)"));
  hscSeek->setRange(0, 0);
  hscSeek->setPageStep(kSeekLargeChange);
  hscSeek->setFocusPolicy(Qt::NoFocus);
  connect(hscSeek, &QScrollBar::valueChanged, this, &MainWindow::hscSeek_Change);
  lblInfo = new QLabel;
  lblInfo->setObjectName("lblInfo");
  lblInfo->setToolTip(tr("Frame rate, measure and position while playing"));
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
  cmdRew = Button("cmdRew", {}, tr("Previous chart of the play list (F1)"));
  cmdPlay = Button("cmdPlay", {}, tr("Play from the seek bar's position (F2)"));
  cmdStop = Button("cmdStop", {}, tr("Stop playing (F3)"));
  cmdFF = Button("cmdFF", {}, tr("Next chart of the play list (F4)"));
  cmdReload = Button("cmdReload", {}, tr("Load the current chart again (F5)"));
  cmdOpen = Button("cmdOpen", {}, tr("Open a chart file (F9)"));
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
  cmdPlayList = Button("cmdPlayList", {}, tr("Show the play list"));
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

QWidget* MainWindow::MakeOptionsPanel() {
  auto* panel = new QWidget;
  auto* column = new QVBoxLayout(panel);
  column->setContentsMargins(0, 0, 0, 0);

  // Play: the switches a player touches before every song.
  auto* play = new QGroupBox(tr("Play"));
  auto* playGrid = new QGridLayout(play);
  chkUserPlay = OptionCheck(tr("User play"), "Setting.UserPlay", tr("You play the keyed lanes (F7)"));
  chkUserPlay->setObjectName("chkUserPlay");
  chkUserRecord = OptionCheck(tr("Record"), "Setting.UserRec", tr("Record your play (Ctrl+F7)"));
  chkUserRecord->setObjectName("chkUserRecord");
  chkDEMO = OptionCheck(tr("DEMO"), "Setting.DEMOMode", tr("Demonstration mode: no score log (F8)"));
  chkDEMO->setObjectName("chkDEMO");
  cmbHispeed = OptionList("cmbHispeed", "Setting.HiSpeed", kHiSpeedItems, tr("Scroll speed (4+1 / 4+2)"));
  cmbFreq = OptionList("cmbFreq", "Setting.RealHiSpeed", kFreqItems, tr("Playback speed (3+1 / 3+2)"));
  cmbSleep = OptionList("cmbSleep", "Setting.Sleep", kSleepItems, tr("Pause per frame in ms (1 / 2)"));
  playGrid->addWidget(chkUserPlay, 0, 0);
  playGrid->addWidget(chkUserRecord, 0, 1);
  playGrid->addWidget(chkDEMO, 0, 2);
  playGrid->addWidget(new QLabel(tr("HiSpeed")), 1, 0);
  playGrid->addWidget(cmbHispeed, 1, 1, 1, 2);
  playGrid->addWidget(new QLabel(tr("Speed")), 2, 0);
  playGrid->addWidget(cmbFreq, 2, 1, 1, 2);
  playGrid->addWidget(new QLabel(tr("Sleep")), 3, 0);
  playGrid->addWidget(cmbSleep, 3, 1, 1, 2);
  connect(chkUserPlay, &QCheckBox::clicked, this, &MainWindow::chkUserPlay_Click);
  connect(chkUserRecord, &QCheckBox::clicked, this, &MainWindow::chkUserRecord_Click);
  cmdRecSave = Button("cmdRecSave", tr("Save record..."), tr("Save the recorded play"));
  cmdRecLoad = Button("cmdRecLoad", tr("Load record..."), tr("Load a recorded play to replay it"));
  connect(cmdRecSave, &QPushButton::clicked, this, &MainWindow::cmdRecSave_Click);
  connect(cmdRecLoad, &QPushButton::clicked, this, [this] { LoadRecordFile({}); });
  playGrid->addWidget(cmdRecSave, 4, 0, 1, 2);
  playGrid->addWidget(cmdRecLoad, 4, 2);
  column->addWidget(play);

  // Option pages, chosen by optSelSet (Ctrl+Tab).
  auto* selector = new QHBoxLayout;
  const QStringList pageNames = {tr("Display"), tr("Sound"), tr("Notes")};
  optionPages = new QStackedWidget;
  for (int i = 0; i < pageNames.size(); ++i) {
    auto* option = new QRadioButton(pageNames[i]);
    option->setObjectName(QString("optSelSet%1").arg(i));
    option->setToolTip(tr("Option page (Ctrl+Tab / Ctrl+Shift+Tab)"));
    connect(option, &QRadioButton::toggled, this, [this, i](bool on) {
      if (on) optionPages->setCurrentIndex(i);
    });
    optSelSet.push_back(option);
    selector->addWidget(option);
  }
  column->addLayout(selector);

  struct SetEntry {
    QString caption;
    std::string key;
    QString tip;
    int page;
  };
  const std::vector<SetEntry> entries = {
      {tr("WAV(&W)"), "Setting.NoWAV", tr("Do not load sounds"), 1},
      {tr("BGA(&B)"), "Setting.NoBGA", tr("Do not load pictures"), 0},
      {tr("Notes"), "Setting.ShowObj", tr("Draw the notes"), 0},
      {tr("BGA"), "Setting.ShowBGA", tr("Show the background animation (5)"), 0},
      {tr("Sound"), "Setting.PlaySound", tr("Play background sounds"), 1},
      {tr("Key sound"), "Setting.PlayKeySound", tr("Play key sounds automatically"), 1},
      {tr("Replay record"), "Setting.PlayRec", tr("Replay a loaded record"), 1},
      {tr("Show record"), "Setting.ShowRec", tr("Show the recorded presses"), 0},
      {tr("Lane lines"), "Setting.ShowVLine", tr("Draw the vertical lane lines (6)"), 0},
      {tr("Grid"), "Setting.ShowGlid", tr("Draw the grid"), 0},
      {tr("Sound view"), "Setting.PolMode", tr("Show the sound slots; click one to hear it"), 1},
      {tr("Gauge"), "Setting.ShowGauge", tr("Draw the groove gauge"), 0},
      {tr("Don't stretch"), "Setting.DontStretch", tr("Do not stretch the picture to the drawing area"), 0},
      {tr("Don't wait"), "Setting.DontWait", tr("Do not wait for the last sounds at the end"), 1},
  };
  std::vector<QGridLayout*> pages;
  for (int i = 0; i < 3; ++i) {
    auto* page = new QWidget;
    pages.push_back(new QGridLayout(page));
    optionPages->addWidget(page);
  }
  for (size_t i = 0; i < entries.size(); ++i) {
    QCheckBox* check = OptionCheck(entries[i].caption, entries[i].key, entries[i].tip);
    check->setObjectName(QString("chkSet%1").arg(i));
    chkSet.push_back(check);
    QGridLayout* grid = pages[static_cast<size_t>(entries[i].page)];
    const int n = grid->count();
    grid->addWidget(check, n / 2, n % 2);
  }
  const QStringList noteNames = {tr("Hidden"), tr("Sudden"), tr("Stealth"), tr("Reverse"), tr("Accel"), tr("Nazo")};
  const char* noteKeys[] = {"Hidden", "Sudden", "Stealth", "Reverse", "Accel", "Nazo"};
  for (int i = 0; i < noteNames.size(); ++i) {
    QCheckBox* check = OptionCheck(noteNames[i], std::string("NoteSetting.") + noteKeys[i], tr("Note display mode"));
    check->setObjectName(QString("chkUPSet%1").arg(i));
    chkUPSet.push_back(check);
    pages[2]->addWidget(check, i / 2, i % 2);
  }
  optSelSet[0]->setChecked(true);
  column->addWidget(optionPages);

  // Screen: layout, size, title strip, display device.
  auto* screen = new QGroupBox(tr("Screen"));
  auto* screenGrid = new QGridLayout(screen);
  cmbRect = new QComboBox;
  cmbRect->setObjectName("cmbRect");
  cmbRect->setToolTip(tr("Layout file (8)"));
  cmbRect->setFocusPolicy(Qt::NoFocus);
  connect(cmbRect, &QComboBox::currentTextChanged, this, [this](const QString& text) {
    settings_.rect = text.toStdString();
    if (!applyingSettings_) LoadLayout();
  });
  cmbSize = new QComboBox;
  cmbSize->setObjectName("cmbSize");
  cmbSize->setToolTip(tr("Set window size: the drawing area becomes 256 x this"));
  cmbSize->addItems(kSizeItems);
  cmbSize->setCurrentIndex(-1);
  cmbSize->setFocusPolicy(Qt::NoFocus);
  connect(cmbSize, &QComboBox::textActivated, this, &MainWindow::cmbSize_Change);
  chkTitle = OptionCheck(tr("Title"), "Setting.TitleDisplay", tr("Show the title strip"));
  chkTitle->setObjectName("chkTitle");
  BindOption(chkTitle, "Setting.TitleDisplay", [this] { picTitle->setVisible(settings_.titleDisplay); });
  chkAutoHide = OptionCheck(tr("Auto hide"), "Setting.WndAutoHide", tr("Hide the controls while playing"));
  chkAutoHide->setObjectName("chkAutoHide");
  connect(chkAutoHide, &QCheckBox::toggled, this, [this] { ApplyAutoHide(); });
  for (int i = 0; i < 2; ++i) {
    auto* option = new QRadioButton(i == 0 ? tr("Fit window") : tr("Fixed size"));
    option->setObjectName(QString("optWSize%1").arg(i));
    option->setToolTip(i == 0 ? tr("The drawing area grows and shrinks with the window")
                              : tr("The drawing area keeps its size (pick one under Size)"));
    connect(option, &QRadioButton::toggled, this, [this, i](bool on) {
      if (!on) return;
      if (!applyingSettings_) settings_.wndMode = static_cast<int16_t>(i);
      // Full screen forces this option on; the size kept is the window's.
      if (i == 1 && !layout_.loading && !fullScreen()) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        fixedDrawSize_ = picDraw->size();
      }
      ApplyDrawSizeMode();
    });
    optWSize.push_back(option);
  }
  cmdKeyConf = Button("cmdKeyConf", tr("Keys..."), tr("Key configuration"));
  connect(cmdKeyConf, &QPushButton::clicked, this, [this] {
    // Keys pressed in the dialog must not play lanes behind it.
    RequestStop();
    KeyConfigDialog dialog(keyMap_, this);
    dialog.exec();
  });
  cmdDDInit = Button("cmdDDInit", tr("Initialize"), tr("Initialize Memories: make the display surfaces again"));
  cmdDDRelease = Button("cmdDDRelease", tr("Release"), tr("Release memories: free every surface and sound"));
  connect(cmdDDRelease, &QPushButton::clicked, this, [this] { media_->ReleaseMemories(); });
  connect(cmdDDInit, &QPushButton::clicked, this, [this] {
    log_.PutLog("Initialize Memories");
    media_->InitDirectDraw();
    DispResizeNow();
  });
  screenGrid->addWidget(new QLabel(tr("Layout")), 0, 0);
  screenGrid->addWidget(cmbRect, 0, 1, 1, 2);
  screenGrid->addWidget(new QLabel(tr("Size")), 1, 0);
  screenGrid->addWidget(cmbSize, 1, 1, 1, 2);
  screenGrid->addWidget(optWSize[0], 2, 0);
  screenGrid->addWidget(optWSize[1], 2, 1);
  screenGrid->addWidget(chkTitle, 3, 0);
  screenGrid->addWidget(chkAutoHide, 3, 1);
  screenGrid->addWidget(cmdKeyConf, 4, 0);
  screenGrid->addWidget(cmdDDInit, 4, 1);
  screenGrid->addWidget(cmdDDRelease, 4, 2);
  column->addWidget(screen);
  return panel;
}

QCheckBox* MainWindow::OptionCheck(const QString& caption, const std::string& key, const QString& tip) {
  auto* check = new QCheckBox(caption);
  check->setToolTip(tip);
  check->setFocusPolicy(Qt::NoFocus);
  if (key != "Setting.TitleDisplay") BindOption(check, key);
  return check;
}

QComboBox* MainWindow::OptionList(const QString& name, const std::string& key, const QStringList& items,
                                  const QString& tip) {
  auto* list = new QComboBox;
  list->setObjectName(name);
  list->addItems(items);
  list->setToolTip(tip);
  list->setFocusPolicy(Qt::NoFocus);
  BindOption(
      list, key,
      key == "Setting.RealHiSpeed" ? std::function<void()>([this] { cmbFreq_Change(); }) : std::function<void()>());
  return list;
}

void MainWindow::BindOption(QWidget* control, const std::string& key, std::function<void()> action) {
  bindings_.push_back({control, key});
  auto changed = [this, key, action](const QString& text) {
    if (applyingSettings_) return;
    SetOption(settings_, key, text.toStdString());
    if (action) action();
  };
  if (auto* check = qobject_cast<QCheckBox*>(control)) {
    connect(check, &QCheckBox::toggled, this, [changed](bool on) { changed(on ? "True" : "False"); });
  } else if (auto* list = qobject_cast<QComboBox*>(control)) {
    connect(list, &QComboBox::currentTextChanged, this, changed);
  }
}

void MainWindow::ApplySettingsToControls() {
  applyingSettings_ = true;
  for (const OptionBinding& binding : bindings_) {
    const SettingsKey* key = FindSettingsKey(binding.key);
    if (key == nullptr) continue;
    const std::string text = OptionText(settings_, *key);
    if (auto* check = qobject_cast<QCheckBox*>(binding.control)) {
      check->setChecked(text == "True");
    } else if (auto* list = qobject_cast<QComboBox*>(binding.control)) {
      // Every entry of equal value is selected in turn; the last one stays.
      const auto wanted = ParseNumber(FromUtf8(text));
      for (int i = 0; i < list->count(); ++i) {
        const auto value = ParseNumber(FromUtf8(list->itemText(i).toStdString()));
        if (wanted && value && *wanted == *value) list->setCurrentIndex(i);
      }
    }
  }
  const QString rect = QString::fromStdString(settings_.rect);
  if (cmbRect->findText(rect) < 0) cmbRect->addItem(rect);
  cmbRect->setCurrentText(rect);
  if (settings_.wndMode == 0 || settings_.wndMode == 1)
    optWSize[static_cast<size_t>(settings_.wndMode)]->setChecked(true);
  picTitle->setVisible(settings_.titleDisplay);
  applyingSettings_ = false;
}

void MainWindow::ReadControlsIntoSettings() {
  settings_.titleDisplay = picTitle->isVisibleTo(this);
  settings_.rect = cmbRect->currentText().toStdString();
  settings_.wndMode = optWSize[0]->isChecked() ? 0 : optWSize[1]->isChecked() ? 1 : kNoWndMode;
  settings_.wndAutoHide = chkAutoHide->isChecked() ? 1 : 0;
  settings_.mainForm = PlacementOf(*this, fullScreen() ? savedPlacement_ : normalGeometry());
}

void MainWindow::FillRectList() {
  std::set<QString> names;
  for (const std::string& folder : {programFolder_, BundledAssetsFolder()}) {
    const QDir dir(QString::fromStdString(folder));
    for (const QString& name : dir.entryList({"*.vrd"}, QDir::Files)) names.insert(name);
  }
  applyingSettings_ = true;
  cmbRect->clear();
  for (const QString& name : names) cmbRect->addItem(name);
  applyingSettings_ = false;
}

std::string MainWindow::RectPath(const std::string& name) const {
  std::error_code error;
  const std::filesystem::path own = std::filesystem::path(programFolder_) / name;
  if (std::filesystem::exists(own, error)) return own.string();
  const std::filesystem::path bundled = std::filesystem::path(BundledAssetsFolder()) / name;
  if (std::filesystem::exists(bundled, error)) return bundled.string();
  return own.string();
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
  ApplySettingsToControls();
  LoadLayout();
  DispResizeNow();
  keyMap_ = LoadKeyMap(programFolder_ + "/" + std::string(kKeyMapFileName), log_);
  log_.PutLog("--------------------");
  log_.PutLog("Initialize complete.");
  DrawIdleFrame();
}

void MainWindow::Quit() { close(); }

void MainWindow::closeEvent(QCloseEvent* event) {
  if (inPlaySequence_) {
    // The play loop runs below this handler: end it first, close after.
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
  WriteSettings(programFolder_ + "/" + std::string(kSettingsFileName), settings_);
  if (unload_) unload_();
  if (tray_ != nullptr) tray_->hide();
}

void MainWindow::CheckNoWav() { chkSet[0]->setChecked(true); }
void MainWindow::CheckNoBga() { chkSet[1]->setChecked(true); }

// --- The debug log.

void MainWindow::AppendLine(std::string_view line) {
  const QString text = QString::fromUtf8(line.data(), static_cast<int>(line.size()));
  txtStatus->appendPlainText(text);
  picTitle->Curtitle(text);
}

void MainWindow::ReplaceText(std::string_view text) {
  txtStatus->setPlainText(QString::fromUtf8(text.data(), static_cast<int>(text.size())));
}

void MainWindow::CaptionChanged(std::string_view caption, std::string_view text) {
  setWindowTitle(QString::fromUtf8(caption.data(), static_cast<int>(caption.size())));
  ModifyIcon(QString::fromUtf8(text.data(), static_cast<int>(text.size())));
}

std::string MainWindow::Caption() const { return windowTitle().toStdString(); }

void MainWindow::SetCaptionText(const std::string& text) { setWindowTitle(QString::fromStdString(text)); }

}  // namespace vremo
