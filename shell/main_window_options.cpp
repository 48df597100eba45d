// MainWindow: the option panel (Play, Display/Sound/Notes pages, Screen),
// the binding of every option control to the settings, and the layout list.
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <filesystem>
#include <set>

#include "chart/chart_text.h"
#include "chart/numbers.h"
#include "shell/calibration_dialog.h"
#include "shell/control_helpers.h"
#include "shell/draw_area.h"
#include "shell/key_config_dialog.h"
#include "shell/library_folders_box.h"
#include "shell/main_window.h"
#include "shell/program_folder.h"
#include "shell/settings_file.h"
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
const QStringList kAudioBufferItems = {"64", "128", "256", "512", "1024"};

}  // namespace

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
  cmdRecSave = MakeButton("cmdRecSave", tr("Save record..."), tr("Save the recorded play"));
  cmdRecLoad = MakeButton("cmdRecLoad", tr("Load record..."), tr("Load a recorded play to replay it"));
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
  chkModern = OptionCheck(tr("Modern reading"), "Setting.ModernReading",
                          tr("Long notes, stops, #RANDOM blocks, LF line ends, Korean text (from the next load)"));
  chkModern->setObjectName("chkModern");
  pages[2]->addWidget(chkModern, static_cast<int>(noteNames.size()) / 2, 0, 1, 2);
  chkVSync = OptionCheck(tr("VSync"), "Setting.VSync",
                         tr("Show each frame at the display's refresh instead of pausing by Sleep"));
  chkVSync->setObjectName("chkVSync");
  const int displayRow = (pages[0]->count() + 1) / 2;
  pages[0]->addWidget(chkVSync, displayRow, 0, 1, 2);
  cmbAudioBuffer = OptionList("cmbAudioBuffer", "Setting.AudioBufferFrames", kAudioBufferItems,
                              tr("Frames per sound-device block: fewer sound sooner, more are safer"));
  connect(cmbAudioBuffer, &QComboBox::currentTextChanged, this, [this] {
    if (!applyingSettings_) ApplyAudioBuffer();
  });
  const int soundRow = (pages[1]->count() + 1) / 2;
  pages[1]->addWidget(new QLabel(tr("Audio buffer")), soundRow, 0);
  pages[1]->addWidget(cmbAudioBuffer, soundRow, 1);
  AddTimingOptions(*pages[1]);
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
  BindOption(chkTitle, "Setting.TitleDisplay", [this] { ApplyAutoHide(); });
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
  cmdKeyConf = MakeButton("cmdKeyConf", tr("Keys..."), tr("Key configuration"));
  connect(cmdKeyConf, &QPushButton::clicked, this, [this] {
    // Keys pressed in the dialog must not play lanes behind it.
    RequestStop();
    KeyConfigDialog dialog(keyMap_, this);
    dialog.exec();
  });
  cmdDDInit = MakeButton("cmdDDInit", tr("Initialize"), tr("Initialize Memories: make the display surfaces again"));
  cmdDDRelease = MakeButton("cmdDDRelease", tr("Release"), tr("Release memories: free every surface and sound"));
  connect(cmdDDRelease, &QPushButton::clicked, this, [this] {
    // A play must not run on over released surfaces and sounds: stop it,
    // let it see the request, then release.
    if (engine_->state().running) picDraw->setFocus();
    engine_->RequestStop();
    QCoreApplication::processEvents();
    media_->ReleaseMemories();
  });
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

  // Library: its folders (working once the library window is attached).
  libraryBox_ = new LibraryFoldersBox;
  column->addWidget(libraryBox_);
  return panel;
}

QCheckBox* MainWindow::OptionCheck(const QString& caption, const std::string& key, const QString& tip) {
  auto* check = new QCheckBox(caption);
  check->setToolTip(tip);
  check->setFocusPolicy(Qt::NoFocus);
  if (key != "Setting.TitleDisplay") BindOption(check, key);
  return check;
}

void MainWindow::AddTimingOptions(QGridLayout& grid) {
  int row = grid.rowCount();
  chkKeyTime = OptionCheck(tr("Judge at key time"), "Setting.JudgeAtKeyTime",
                           tr("Judge each press at the moment the key went down, not at the next frame"));
  chkKeyTime->setObjectName("chkKeyTime");
  grid.addWidget(chkKeyTime, row++, 0, 1, 2);
  struct OffsetControl {
    QSpinBox** spin;
    const char* name;
    QString caption;
    const char* key;
    QString tip;
  };
  const OffsetControl offsets[] = {
      {&spnAudioOffset, "spnAudioOffset", tr("Audio offset"), "Setting.AudioOffset",
       tr("ms you hear the sound late: sounds start this much earlier")},
      {&spnDisplayOffset, "spnDisplayOffset", tr("Display offset"), "Setting.DisplayOffset",
       tr("ms you see the notes late: notes are drawn this much ahead")},
      {&spnJudgeOffset, "spnJudgeOffset", tr("Judge offset"), "Setting.JudgeOffset",
       tr("ms you press late: presses are judged this much earlier")},
  };
  for (const OffsetControl& control : offsets) {
    auto* spin = new QSpinBox;
    spin->setObjectName(control.name);
    spin->setRange(kMinOffsetMs, kMaxOffsetMs);
    spin->setSuffix(tr(" ms"));
    spin->setToolTip(control.tip);
    spin->setFocusPolicy(Qt::ClickFocus);
    BindOption(spin, control.key);
    *control.spin = spin;
    grid.addWidget(new QLabel(control.caption), row, 0);
    grid.addWidget(spin, row++, 1);
  }
  cmdCalibrate =
      MakeButton("cmdCalibrate", tr("Calibrate..."), tr("Press along with a click to find your judge offset"));
  connect(cmdCalibrate, &QPushButton::clicked, this, &MainWindow::cmdCalibrate_Click);
  grid.addWidget(cmdCalibrate, row, 1);
}

void MainWindow::cmdCalibrate_Click() {
  // The dialog holds the thread while it is open: a play would stall, so it ends.
  if (engine_->Playing()) cmdStop_Click();
  CalibrationDialog dialog(&audio_, audio_.sampleRate(), clock_, this);
  if (dialog.exec() != QDialog::Accepted) return;
  if (const auto offset = dialog.proposedOffset()) spnJudgeOffset->setValue(*offset);
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
  } else if (auto* spin = qobject_cast<QSpinBox*>(control)) {
    connect(spin, &QSpinBox::valueChanged, this, [changed](int value) { changed(QString::number(value)); });
  }
}

void MainWindow::ApplySettingsToControls() {
  applyingSettings_ = true;
  for (const OptionBinding& binding : bindings_) {
    const SettingsKey* key = FindSettingsKey(binding.key);
    if (key == nullptr) continue;
    const std::string text = OptionText(settings_, *key);
    if (auto* check = qobject_cast<QCheckBox*>(binding.control)) {
      check->setChecked(OptionIsOn(settings_, *key));
    } else if (auto* list = qobject_cast<QComboBox*>(binding.control)) {
      // Every entry of equal value is selected in turn; the last one stays.
      const auto wanted = ParseNumber(FromUtf8(text));
      for (int i = 0; i < list->count(); ++i) {
        const auto value = ParseNumber(FromUtf8(list->itemText(i).toStdString()));
        if (wanted && value && *wanted == *value) list->setCurrentIndex(i);
      }
    } else if (auto* spin = qobject_cast<QSpinBox*>(binding.control)) {
      if (const auto value = ParseNumber(FromUtf8(text))) spin->setValue(static_cast<int>(*value));
    }
  }
  const QString rect = QString::fromStdString(settings_.rect);
  if (cmbRect->findText(rect) < 0) cmbRect->addItem(rect);
  cmbRect->setCurrentText(rect);
  if (settings_.wndMode == 0 || settings_.wndMode == 1)
    optWSize[static_cast<size_t>(settings_.wndMode)]->setChecked(true);
  ApplyAutoHide();
  applyingSettings_ = false;
}

void MainWindow::ReadControlsIntoSettings() {
  settings_.titleDisplay = chkTitle->isChecked();
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

}  // namespace vremo
