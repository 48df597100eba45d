#pragma once
// The main window `frmMain` of the desktop player: drawing area `picDraw`,
// title strip `picTitle`, debug log `txtStatus`, the option switches and
// lists, the transport buttons and the seek bar `hscSeek`. It owns the one
// chart, the media layer, the sound bank, the play engine and the renderer,
// and drives a play from the tick of `timPlay` (the load sequence), pumping
// events between passes so that keys, buttons and commands act during play.
//
// The command side (command line, hand-over, command channel, play list)
// calls the public methods below. Everything runs on the UI thread.

#include <QMainWindow>
#include <QSystemTrayIcon>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "chart/chart.h"
#include "chart/debug_log.h"
#include "display/audio_device.h"
#include "display/frame_renderer.h"
#include "display/layout.h"
#include "display/media_layer.h"
#include "display/media_prefetch.h"
#include "display/sound_bank.h"
#include "play/clock.h"
#include "play/lane_keys.h"
#include "play/play_engine.h"
#include "play/play_host.h"
#include "play/settings.h"

class QAbstractButton;
class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QSpinBox;
class QStackedWidget;
class QTimer;

namespace vremo {

class DrawArea;
class LibraryFoldersBox;
class LibraryWindow;
class SeekBar;
struct LoadCounts;
class TitleStrip;

inline constexpr int kPlayTimerIntervalMs = 1;
inline constexpr int kSeekLargeChange = 192;
inline constexpr int kSizeUnitPixels = 256;
// Border around the window's contents (none in full screen).
inline constexpr int kWindowMargin = 4;

class MainWindow : public QMainWindow, public PlayHost, public LogSink {
  Q_OBJECT

 public:
  // `programFolder` holds vremo.ini, vrkeycnf.dat and the score log; empty
  // for ProgramFolder().
  explicit MainWindow(std::string programFolder = {});
  ~MainWindow() override;

  // The start-up steps after the window exists: show it, lay out the
  // controls, open the display and the sound device, read the settings, lay
  // out the restored size, load the key map.
  void StartUp();

  // --- For the command side.
  // Puts the chart in timPlay's tag and enables it: the load sequence runs
  // at the next tick (after the running play, if any, has returned).
  void RequestPlay(const std::string& path);
  // Enables timPlay for the chart already in its tag.
  void EnablePlayTimer();
  void RequestStop();
  // A chart position (or, with byPosition false, a measure number).
  void SeekTo(int32_t target, bool byPosition = true);
  // Closes the window as the user would (after the running play stops).
  void Quit();
  void SetQuitAfterPlay(bool quit) { quitAfterPlay_ = quit; }
  bool quitAfterPlay() const { return quitAfterPlay_; }
  // What cmdFF / F4 and the end of a song call (the play list's next entry).
  void SetNextSongHandler(std::function<void()> handler) { nextSong_ = std::move(handler); }
  // What cmdRew / F1 call (the play list's previous entry).
  void SetPreviousSongHandler(std::function<void()> handler) { previousSong_ = std::move(handler); }
  // Runs just before each play starts (the play list re-reads the entry
  // that plays, so an edited chart shows its new title and length).
  void SetPlayStartHandler(std::function<void()> handler) { playStart_ = std::move(handler); }
  // Runs after each play has ended (the library reads the new results).
  void SetPlayEndHandler(std::function<void()> handler) { playEnd_ = std::move(handler); }
  // The notices to every connected program: "PLENGTH " + length before a
  // play, "PNEXT" after a song that ended by itself (the list then goes on).
  void SetLinkedPartner(std::function<void(std::string)> notify) { partner_ = std::move(notify); }
  // Files dropped on the window that are not a play record (a list file,
  // charts, folders): the play list takes them.
  void SetDropHandler(std::function<void(const std::vector<std::string>&)> handler) {
    dropHandler_ = std::move(handler);
  }
  // Files dropped on the window, in drop order: the first one decides (a
  // play record is loaded, anything else goes to the drop handler).
  void FilesDropped(const std::vector<std::string>& paths);
  // The play-list window, shown by cmdPlayList.
  void SetPlayListWindow(QWidget* window);
  // The library window, shown from the option panel's library group, whose
  // folders work through it.
  void SetLibraryWindow(LibraryWindow* window);
  // A message box with the critical-stop icon that does not hold the play
  // loop (it is window-modal and returns at once).
  void ShowCriticalMessage(const std::string& text, const std::string& title);
  // LoadRecord for the loaded chart: `path` empty asks with the open dialog.
  void LoadRecordFile(const std::string& path);
  // Shut-down runs `closing` first (the partner is told, the play-list
  // window's place is taken), then saves the key map and the settings, then
  // runs `unloading` (the play list saves its own file).
  void SetShutdownHandlers(std::function<void()> closing, std::function<void()> unloading) {
    shutdown_ = std::move(closing);
    unload_ = std::move(unloading);
  }
  // Check the "WAV(&W)" / "BGA(&B)" switches (the -W and -B switches).
  void CheckNoWav();
  void CheckNoBga();
  std::string Caption() const;
  void SetCaptionText(const std::string& text);

  DebugLog& log() { return log_; }
  Settings& settings() { return settings_; }
  const Chart& chart() const { return *chart_; }
  PlayEngine& engine() { return *engine_; }
  KeyMap& keyMap() { return keyMap_; }
  const std::string& playTag() const { return playTag_; }
  bool fullScreen() const { return media_->display().fullScreen; }
  const std::string& programFolder() const { return programFolder_; }
  const AudioDevice& audio() const { return audio_; }
  // The latest hot-key status message.
  const std::string& statusMessage() const { return lastStatusMessage_; }

  // --- PlayHost.
  void ProcessMessages() override;
  void Sleep(int32_t ms) override;
  void WaitForRefresh(int32_t ms) override;
  bool CountsPresentedFrames() const override;
  void ShowSongInfo(std::string_view text) override;
  void SetSeekBarByProgram(int16_t position) override;
  void StartPlayTimer() override;
  void KillPlayTimer() override;
  void PlayControlsEnabled() override;
  void RecordingEnded() override;

  // --- LogSink (txtStatus).
  void AppendLine(std::string_view line) override;
  void ReplaceText(std::string_view text) override;
  void CaptionChanged(std::string_view caption, std::string_view text) override;

  // The display-mode switch (Alt+Enter, double click, a layout's FUL line).
  void SetScreenMode(bool full);

 protected:
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  struct OptionBinding {
    QWidget* control;
    std::string key;  // "Section.Key" of the settings table
  };

  // main_window.cpp: the form, start-up and shut-down.
  void PreperForm();
  QWidget* MakeTransportBar();
  void ShutDown();

  // main_window_options.cpp: the option panel and its bindings.
  QWidget* MakeOptionsPanel();
  QCheckBox* OptionCheck(const QString& caption, const std::string& key, const QString& tip);
  QComboBox* OptionList(const QString& name, const std::string& key, const QStringList& items, const QString& tip);
  // Every option control reports here: the setting takes the control's value
  // (unless settings are being applied), then the control's own action runs.
  void BindOption(QWidget* control, const std::string& key, std::function<void()> action = {});
  void ApplySettingsToControls();
  void AddTimingOptions(QGridLayout& grid);
  void cmdCalibrate_Click();
  void ReadControlsIntoSettings();
  void FillRectList();
  std::string RectPath(const std::string& name) const;

  // main_window_play.cpp: the load sequence, transport and seeking.
  void timPlay_Timer();
  void cmdPlay_Click();
  void cmdStop_Click();
  void cmdReload_Click();
  void cmdOpen_Click();
  void hscSeek_Change(int value);
  void cmbFreq_Change();
  void chkUserPlay_Click();
  void chkUserRecord_Click();
  void cmdRecSave_Click();  // main_window_files.cpp, with the drops
  // The options, log and transport give the drawing area the whole window
  // in full screen, and while playing when the auto-hide box is checked.
  void ApplyAutoHide();
  void DrawIdleFrame();
  void ShowLoadProgress(const LoadCounts& counts);
  // The chart in playTag_ read with its media decoded on workers while the
  // window's events are processed; empty when the load was cancelled.
  std::optional<int32_t> LoadWithEvents();
  void EndCancelledLoad();
  bool TakePendingRequest();
  void ShowDecodeProgress(const MediaPrefetch::Progress& progress);
  void SetPlayButtonIcon(bool playing);
  void picDraw_Pressed(int x, int y);
  void picDraw_Dragged(int x, int y);
  void picDraw_Released(int x, int y);

  // main_window_keys.cpp: hot keys and lane keys.
  // `keyTick`: the play-clock tick the key event happened at, when known.
  bool Form_KeyDown(int32_t keyCode, Qt::KeyboardModifiers modifiers, std::optional<double> keyTick = std::nullopt);
  bool Form_KeyUp(int32_t keyCode, std::optional<double> keyTick = std::nullopt);
  void StepList(QComboBox* list, int step, const QString& label);
  void ToggleCheck(QCheckBox* check, const QString& label);
  void ShowStatusMessage(const QString& text);
  void CycleSelSet(int step);

  // main_window_display.cpp: sizes, resizing, tray.
  void DispResizeNow();
  void cmbSize_Change();
  // optWSize: "Fixed size" pins picDraw to fixedDrawSize_ in window mode,
  // "Fit window" lets it follow the window.
  void ApplyDrawSizeMode();
  void LoadLayout();
  void ModifyIcon(const QString& text);
  // Opens the sound device again when AudioBufferFrames asks for another block.
  void ApplyAudioBuffer();
  void MakeTrayIcon();

  std::string programFolder_;
  DebugLog log_;
  Settings settings_;
  std::unique_ptr<Chart> chart_;
  AudioDevice audio_;
  MixerSoundBank sounds_{audio_};
  std::unique_ptr<MediaLayer> media_;
  Layout layout_;
  std::unique_ptr<LayoutContext> layoutContext_;
  SteadyClock clock_;
  std::unique_ptr<PlayEngine> engine_;
  std::unique_ptr<FrameRenderer> renderer_;
  KeyMap keyMap_ = DefaultKeyMap();
  std::unique_ptr<LaneKeyInput> laneKeys_;

  std::string playTag_;
  std::string lastStatusMessage_;
  bool quitAfterPlay_ = false;
  bool applyingSettings_ = false;
  bool lockControls_ = false;
  bool seekSetByProgram_ = false;
  bool inPlaySequence_ = false;
  bool loading_ = false;  // media are being decoded below an event loop
  bool closePending_ = false;
  bool playPending_ = false;
  bool shutDownDone_ = false;
  bool minimised_ = false;
  double lastMouseY_ = 0.0;
  QRect savedPlacement_;
  bool savedAutoHide_ = false;
  bool savedWSize_ = false;
  QSize fixedDrawSize_;
  std::chrono::steady_clock::time_point nextRefresh_{};  // VSync: when the next frame is due
  std::function<void()> nextSong_;
  std::function<void()> previousSong_;
  std::function<void()> playStart_;
  std::function<void()> playEnd_;
  std::function<void(std::string)> partner_;
  std::function<void()> shutdown_;
  std::function<void()> unload_;
  std::function<void(const std::vector<std::string>&)> dropHandler_;
  std::vector<OptionBinding> bindings_;

  // Controls, by the names the program gives them.
  DrawArea* picDraw = nullptr;
  TitleStrip* picTitle = nullptr;
  QPlainTextEdit* txtStatus = nullptr;
  QLabel* lblCap = nullptr;
  QLabel* lblInfo = nullptr;
  QProgressBar* prgLoad = nullptr;  // over lblInfo while media are decoded
  QComboBox* cmbHispeed = nullptr;
  QComboBox* cmbFreq = nullptr;
  QComboBox* cmbSleep = nullptr;
  QComboBox* cmbRect = nullptr;
  QComboBox* cmbSize = nullptr;
  QCheckBox* chkUserPlay = nullptr;
  QCheckBox* chkUserRecord = nullptr;
  QCheckBox* chkDEMO = nullptr;
  QCheckBox* chkTitle = nullptr;
  QCheckBox* chkAutoHide = nullptr;
  QCheckBox* chkModern = nullptr;       // the modern reading, on the Notes page
  QCheckBox* chkVSync = nullptr;        // frames in step with the display, on the Display page
  QComboBox* cmbAudioBuffer = nullptr;  // the sound device's block, on the Sound page
  // Timing, on the Sound page: presses at key time, the three offsets and
  // the calibration dialog.
  QCheckBox* chkKeyTime = nullptr;
  QSpinBox* spnAudioOffset = nullptr;
  QSpinBox* spnDisplayOffset = nullptr;
  QSpinBox* spnJudgeOffset = nullptr;
  QPushButton* cmdCalibrate = nullptr;
  std::vector<QCheckBox*> chkSet;
  std::vector<QCheckBox*> chkUPSet;
  std::vector<QRadioButton*> optSelSet;
  std::vector<QRadioButton*> optWSize;
  QStackedWidget* optionPages = nullptr;
  QPushButton* cmdPlay = nullptr;
  QPushButton* cmdStop = nullptr;
  QPushButton* cmdFF = nullptr;
  QPushButton* cmdRew = nullptr;
  QPushButton* cmdReload = nullptr;
  QPushButton* cmdOpen = nullptr;
  QPushButton* cmdRecSave = nullptr;
  QPushButton* cmdRecLoad = nullptr;
  QPushButton* cmdKeyConf = nullptr;
  QPushButton* cmdPlayList = nullptr;
  LibraryFoldersBox* libraryBox_ = nullptr;  // the option panel's library folders
  QPushButton* cmdDDInit = nullptr;
  QPushButton* cmdDDRelease = nullptr;
  SeekBar* hscSeek = nullptr;
  QTimer* timPlay = nullptr;
  QTimer* playTimer_ = nullptr;
  QSystemTrayIcon* tray_ = nullptr;
  QWidget* playListWindow_ = nullptr;
  // What auto-hide hides: the right-hand column and the bars under picDraw.
  std::vector<QWidget*> hideable_;
};

}  // namespace vremo
