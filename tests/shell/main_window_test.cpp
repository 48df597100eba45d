#include "shell/main_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>
#include <filesystem>
#include <set>

#include "chart/bms_reader.h"
#include "chart/media_loader.h"
#include "display/wav_writer.h"
#include "play/headless_play.h"
#include "shell/draw_area.h"
#include "shell/seek_bar.h"
#include "shell/title_strip.h"
#include "tests/shell/window_test_support.h"

namespace vremo {
namespace {

using testing::Crlf;
using testing::WaitFor;

class MainWindowTest : public testing::WindowTest {
 protected:
  MainWindowTest() : WindowTest(false) {}

  void Key(int key, Qt::KeyboardModifiers mods = Qt::NoModifier) { QTest::keyPress(window.get(), Qt::Key(key), mods); }
  void KeyUp(int key) { QTest::keyRelease(window.get(), Qt::Key(key)); }
  int32_t IndexOfNote(int channel, int nth) {
    const Chart& chart = window->chart();
    for (int32_t i = 0; i < chart.objectCount; ++i) {
      if (chart.objects[i].channel == channel && nth-- == 0) return i;
    }
    return -1;
  }
};

TEST_F(MainWindowTest, LaneKeysJudgeOncePerLanePressAndReleaseEndsThePlay) {
  // Two notes of lane 11, at measures 1 and 2, slow enough to reach by seeking.
  const std::string chart =
      folder.Write("lane.bms", Crlf({"#PLAYER 1", "#TITLE lanes", "#BPM 60", "#00111:01", "#00211:01", "#00411:01"}));
  window->keyMap()['A'] = 11;
  Find<QCheckBox>("chkUserPlay")->click();
  ASSERT_TRUE(window->settings().userPlay);
  EXPECT_FALSE(window->settings().playKeySound);

  const PlayerScore& score = window->engine().scores().players[0];
  const PlayState& state = window->engine().state();
  auto judged = [&] { return score.fGreat + score.great + score.good + score.bad + score.poor; };
  bool played = false;
  WhenPlaying([&] {
    played = true;
    const int32_t first = IndexOfNote(11, 0);
    const int32_t second = IndexOfNote(11, 1);
    ASSERT_GE(first, 0);
    window->SeekTo(188);
    WaitFor([&] { return state.lanePendingNote[0] == first; });
    Key(Qt::Key_Z);
    EXPECT_EQ(judged(), 1);
    EXPECT_NE(window->chart().objects[first].done, 0);
    // Auto-repeat of the held key does nothing more.
    QTest::keyPress(window.get(), Qt::Key_Z);
    QTest::sendKeyEvent(QTest::KeyAction::Press, window.get(), Qt::Key_Z, "z", Qt::NoModifier);
    EXPECT_EQ(judged(), 1);
    window->SeekTo(380);
    WaitFor([&] { return state.lanePendingNote[0] == second; });
    Key(Qt::Key_A);  // a second key of the held lane
    EXPECT_TRUE(state.lanePendingNote[0] == second && window->chart().objects[second].done == 0);
    KeyUp(Qt::Key_Z);
    KeyUp(Qt::Key_A);
    Key(Qt::Key_A);
    EXPECT_NE(window->chart().objects[second].done, 0);
    KeyUp(Qt::Key_A);
    Find<QPushButton>("cmdDDRelease")->click();  // releasing the memories ends the play
    EXPECT_TRUE(state.stopRequested);
  });
  window->RequestPlay(chart);
  ASSERT_TRUE(PlayEnds(1));
  EXPECT_TRUE(played);
  EXPECT_EQ(judged(), 2);
  EXPECT_EQ(score.poor, 0);
  EXPECT_TRUE(Log().contains("releasing memories...\n  play-loop end.")) << Log().toStdString();
}

// The sound block from the option panel reaches the device, which opens
// again; with VSync a play shows frames only at refreshes, counts those for
// the fps meter, and judges presses as before.
TEST_F(MainWindowTest, AudioBufferReopensTheDeviceAndVSyncPacesAPlay) {
  auto* buffer = Find<QComboBox>("cmbAudioBuffer");
  EXPECT_EQ(buffer->currentText(), "256");
  EXPECT_EQ(window->audio().blockFrames(), kDefaultAudioBufferFrames);
  EXPECT_EQ(LogCount("initializing directsound..."), 1);
  buffer->setCurrentText("64");
  EXPECT_EQ(window->settings().audioBufferFrames, 64);
  EXPECT_EQ(window->audio().blockFrames(), 64);
  EXPECT_EQ(LogCount("initializing directsound..."), 2);
  EXPECT_TRUE(Log().contains("Hz, 64 frames (1.3 ms), latency 112 frames (2.3 ms)")) << Log().toStdString();

  const std::string chart =
      folder.Write("paced.bms", Crlf({"#PLAYER 1", "#BPM 60", "#00111:01", "#00211:01", "#00911:01"}));
  Find<QCheckBox>("chkVSync")->click();
  ASSERT_TRUE(window->settings().vsync);
  Find<QCheckBox>("chkUserPlay")->click();
  const PlayerScore& score = window->engine().scores().players[0];
  const PlayState& state = window->engine().state();
  auto* draw = Find<DrawArea>("picDraw");
  bool paced = false;
  WhenPlaying([&] {
    for (int nth = 0; nth < 2; ++nth) {
      window->SeekTo(188 + 192 * nth);
      int32_t note = -1;
      for (int32_t i = 0, seen = 0; i < window->chart().objectCount && note < 0; ++i) {
        if (window->chart().objects[i].channel == 11 && seen++ == nth) note = i;
      }
      WaitFor([&] { return state.lanePendingNote[0] == note; });
      Key(Qt::Key_Z);
      KeyUp(Qt::Key_Z);
    }
    // The loop presents again once this returns; the meter shows those frames.
    const int32_t shown = draw->presentCount();
    testing::WhenReady(
        window.get(), [&, shown] { return state.framesLastSecond > 0 && draw->presentCount() > shown; },
        [&] {
          paced = draw->paced();
          window->RequestStop();
        });
  });
  window->RequestPlay(chart);
  ASSERT_TRUE(PlayEnds(1));
  EXPECT_TRUE(paced);
  EXPECT_FALSE(draw->paced());
  EXPECT_EQ(score.fGreat + score.great + score.good + score.bad, 2);
  EXPECT_EQ(score.poor, 0);
}

TEST_F(MainWindowTest, HotKeysStepTheRightListAndSwitchModes) {
  auto* hispeed = Find<QComboBox>("cmbHispeed");
  auto* freq = Find<QComboBox>("cmbFreq");
  auto* sleep = Find<QComboBox>("cmbSleep");
  // A fresh install: HiSpeed 1, speed 1, Sleep 5.
  EXPECT_EQ(hispeed->currentText(), "1");
  EXPECT_EQ(sleep->currentText(), "5");
  auto says = [&](int key, const char* status) {
    Key(key);
    EXPECT_EQ(window->statusMessage(), status) << key;
  };
  says(Qt::Key_4, "HiSpeed: 1 (1:Down/2:Up)");
  says(Qt::Key_2, "HiSpeed: 1.25 (1:Down/2:Up)");
  EXPECT_EQ(hispeed->currentText(), "1.25");
  EXPECT_FLOAT_EQ(window->settings().hiSpeed, 1.25f);
  KeyUp(Qt::Key_4);
  says(Qt::Key_3, "Real HiSpeed: 1 (1:Down/2:Up)");
  says(Qt::Key_1, "Real HiSpeed: 0.9 (1:Down/2:Up)");
  EXPECT_EQ(freq->currentText(), "0.9");
  EXPECT_FLOAT_EQ(window->settings().realHiSpeed, 0.9f);
  KeyUp(Qt::Key_3);
  says(Qt::Key_1, "Sleep: 4 (1:Down/2:Up)");
  EXPECT_EQ(sleep->currentText(), "4");
  EXPECT_EQ(window->settings().sleepMs, 4);
  EXPECT_EQ(hispeed->currentText(), "1.25");
  EXPECT_EQ(freq->currentText(), "0.9");

  // At the first entry "1" changes nothing and shows nothing new.
  sleep->setCurrentIndex(0);
  Key(Qt::Key_5);
  says(Qt::Key_1, "BGA: Off");
  EXPECT_EQ(sleep->currentText(), "0");
  EXPECT_FALSE(window->settings().showBga);
  says(Qt::Key_6, "BG-VLine: On");
  EXPECT_TRUE(window->settings().showVLine);

  // F7 and F8: user play and demo; while recording F7 may not touch user play.
  says(Qt::Key_F7, "UserPlay: On");
  EXPECT_TRUE(window->settings().userPlay);
  says(Qt::Key_F7, "UserPlay: Off");
  EXPECT_FALSE(window->settings().userPlay);
  says(Qt::Key_F8, "DEMO: On");
  EXPECT_TRUE(window->settings().demoMode);
  Find<QCheckBox>("chkUserRecord")->click();
  EXPECT_TRUE(window->settings().userPlay);
  says(Qt::Key_F7, "DEMO: On");
  EXPECT_TRUE(window->settings().userPlay);
}

TEST_F(MainWindowTest, AltEnterTwiceReturnsTheWindowAndTheSizeListSetsTheArea) {
  window->setGeometry(40, 50, 900, 700);
  Find<QCheckBox>("chkTitle")->setChecked(true);
  QApplication::processEvents();
  const QRect before = window->geometry();
  Key(Qt::Key_Return, Qt::AltModifier);
  EXPECT_TRUE(window->fullScreen());
  EXPECT_TRUE(window->isFullScreen());
  EXPECT_EQ(Find<QLabel>("lblCap")->text(), "Window[640x480]");
  // The picture alone: no title strip, no border.
  auto* draw = Find<QWidget>("picDraw");
  auto* title = Find<QWidget>("picTitle");
  EXPECT_TRUE(WaitFor([&] { return draw->geometry() == window->centralWidget()->rect(); }))
      << draw->geometry().x() << "," << draw->geometry().y() << " " << draw->width() << "x" << draw->height();
  EXPECT_FALSE(title->isVisible());
  Key(Qt::Key_Return, Qt::AltModifier);
  EXPECT_FALSE(window->fullScreen());
  QApplication::processEvents();
  EXPECT_EQ(window->geometry(), before);
  EXPECT_TRUE(title->isVisible());
  EXPECT_EQ(draw->mapTo(window.get(), QPoint(0, 0)).x(), kWindowMargin);
  // Enter alone is a lane key, not the switch.
  Key(Qt::Key_Return);
  EXPECT_FALSE(window->fullScreen());

  auto* size = Find<QComboBox>("cmbSize");
  auto choose = [&](const char* item, int pixels) {
    size->setCurrentText(item);
    emit size->textActivated(item);
    EXPECT_TRUE(WaitFor([&] { return draw->size() == QSize(pixels, pixels); }))
        << item << ": " << draw->width() << " x " << draw->height();
  };
  choose("2", 2 * kSizeUnitPixels);
  // "Fixed size" keeps the area when the window grows; "Fit window" follows.
  Find<QRadioButton>("optWSize1")->click();
  window->resize(window->width() + 100, window->height() + 80);
  WaitFor([&] { return window->height() >= 80 + 512; });
  QCoreApplication::processEvents();
  EXPECT_EQ(draw->size(), QSize(512, 512));
  choose("1.5", 384);
  Find<QRadioButton>("optWSize0")->click();
  window->resize(window->width() + 100, window->height() + 100);
  EXPECT_TRUE(WaitFor([&] { return draw->width() > 384 && draw->height() > 384; }));
}

// Also run on a screen scaled by 2 (QT_SCALE_FACTOR=2): the size list, the
// surfaces and the caption speak the widget's pixels, and the frame fills it.
TEST_F(MainWindowTest, DrawingAreaAndSurfacesShareOneUnit) {
  auto* size = Find<QComboBox>("cmbSize");
  auto* draw = Find<DrawArea>("picDraw");
  size->setCurrentText("1");
  emit size->textActivated("1");
  ASSERT_TRUE(WaitFor([&] { return draw->size() == QSize(256, 256); })) << draw->width() << "x" << draw->height();
  EXPECT_TRUE(WaitFor([&] { return Find<QLabel>("lblCap")->text() == "Window[256x256]"; }))
      << Find<QLabel>("lblCap")->text().toStdString() << " at device pixel ratio " << draw->devicePixelRatioF();
  window->SeekTo(0);
  EXPECT_EQ(draw->frame().size(), QSize(256, 256));
}

TEST_F(MainWindowTest, ChartLoadsOnceShowsItsTextsAndAMissingOneDisablesPlay) {
  const std::string chart = folder.Write("info.bms", Crlf({"#TITLE Song", "#ARTIST Someone", "#PLAYLEVEL 9", "#RANK 5",
                                                           "#PLAYER 3", "#BPM 240", "#00011:01"}));
  Find<QCheckBox>("chkSet13")->setChecked(true);  // DontWait
  window->RequestPlay(chart);
  ASSERT_TRUE(PlayEnds(1));
  window->RequestPlay(chart);
  ASSERT_TRUE(PlayEnds(2));
  EXPECT_EQ(LogCount("BMS load --------"), 1);
  EXPECT_EQ(LogCount("* title:Song"), 1);
  EXPECT_TRUE(Find<QPushButton>("cmdPlay")->isEnabled());
  EXPECT_EQ(window->Caption(), "Vremo v0.26 release - [] Song / Someone");
  auto* title = Find<TitleStrip>("picTitle");
  EXPECT_EQ(title->firstLine(), "Song - Someone");
  EXPECT_EQ(title->secondLine(), QString::fromUtf8("[?????] ★★★★★★★★★Double"));
  Chart other;
  other.playLevel = 2;
  other.rank = 1;
  other.player = 7;
  const std::vector<TitleRun> runs = SongInfoRuns(other);
  QString line;
  for (const TitleRun& run : runs) line += run.text;
  EXPECT_EQ(line, QString::fromUtf8("[Hard] ★★☆☆☆☆Unknown"));
  EXPECT_EQ(runs[1].colour, QColor(255, 255, 0));
  EXPECT_EQ(runs[6].colour, QColor(255, 0, 0));

  window->RequestPlay((folder.path() / "gone.bms").string());
  ASSERT_TRUE(WaitFor([&] { return Log().contains("BMS load error"); }));
  EXPECT_TRUE(Log().contains("Err[not exist] :gone.bms"));
  EXPECT_FALSE(Find<QPushButton>("cmdPlay")->isEnabled());
  EXPECT_FALSE(Find<QPushButton>("cmdStop")->isEnabled());
  EXPECT_FALSE(Find<QPushButton>("cmdReload")->isEnabled());
  EXPECT_TRUE(Find<QPushButton>("cmdFF")->isEnabled());
}

TEST_F(MainWindowTest, MediaDecodeUnderAProgressBarAndAStopOrAnotherChartCancelsIt) {
  // 200 sounds decoded on one thread: the window answers while they are.
  constexpr int kSounds = 200;
  const std::vector<float> samples(2 * 11025, 0.1f);
  ASSERT_TRUE(WriteWavFile(folder.Path("s1.wav"), samples.data(), 11025, 44100));
  std::vector<std::string> lines = {"#PLAYER 1", "#TITLE Many", "#BPM 240"};
  for (int i = 1; i <= kSounds; ++i) {
    const std::string name = "s" + std::to_string(i) + ".wav";
    if (i > 1) std::filesystem::copy_file(folder.Path("s1.wav"), folder.Path(name));
    char slot[3];
    std::snprintf(slot, sizeof slot, "%02X", i);
    lines.push_back("#WAV" + std::string(slot) + " " + name);
  }
  lines.push_back("#00111:01");
  const std::string many = folder.Write("many.bms", Crlf(lines));
  const std::string other = folder.Write("other.bms", Crlf({"#PLAYER 1", "#TITLE Other", "#BPM 240", "#00111:01"}));
  Find<QCheckBox>("chkSet13")->setChecked(true);  // DontWait
  window->settings().loadThreads = 1;
  auto* bar = Find<QProgressBar>("prgLoad");
  auto* info = Find<QLabel>("lblInfo");

  // Seen from a timer that runs during the load; the Stop button ends it.
  int shown = 0;
  QString text;
  QTimer watch;
  QObject::connect(&watch, &QTimer::timeout, [&] {
    if (!bar->isVisible()) return;
    ++shown;
    EXPECT_EQ(bar->maximum(), kSounds);
    text = info->text();
    if (shown == 1) Find<QPushButton>("cmdStop")->click();
  });
  watch.start(1);
  window->RequestPlay(many);
  ASSERT_TRUE(WaitFor([&] { return Log().contains("  load cancelled: "); }));
  EXPECT_GE(shown, 1);
  EXPECT_TRUE(text.startsWith("Now Loading... ")) << text.toStdString();
  EXPECT_TRUE(text.contains("/200")) << text.toStdString();
  EXPECT_FALSE(bar->isVisible());
  EXPECT_EQ(LogCount("BMS load --------"), 0);

  // Another chart asked for during the load cancels it and plays instead:
  // the first chart is never read (the log starts anew with each read).
  shown = 0;
  std::set<std::string> titles;
  QObject::disconnect(&watch, nullptr, nullptr, nullptr);
  QObject::connect(&watch, &QTimer::timeout, [&] {
    titles.insert(window->chart().title);
    if (bar->isVisible() && ++shown == 1) window->RequestPlay(other);
  });
  window->RequestPlay(many);
  const auto played = [&](const std::string& title) {
    return WaitFor([&] {
      return window->chart().title == title && LogCount("PlayLoop complete") == 1 && !window->engine().state().running;
    });
  };
  ASSERT_TRUE(played("Other"));
  EXPECT_GE(shown, 1);
  EXPECT_EQ(titles, (std::set<std::string>{"", "Other"}));
  // Asked for again with nothing in the way, it loads whole and plays.
  watch.stop();
  window->RequestPlay(many);
  ASSERT_TRUE(played("Many"));
  EXPECT_EQ(LogCount("BMS load --------"), 1);
  EXPECT_EQ(LogCount("  load cancelled: "), 0);
}

// 400 measures of 2/4 (38400 units, past the 16-bit seek bar), slow at the end
// (a unit in 62.5 ms) so notes are hit to the unit; lane 11's is left alone.
std::string LongSong() {
  std::vector<std::string> lines = {"#PLAYER 1", "#TITLE Long", "#BPM 10000", "#PLAYLEVEL 3"};
  for (int m = 0; m < 400; ++m) {
    char line[32];
    std::snprintf(line, sizeof line, "#%03d02:0.5", m);
    lines.push_back(line);
  }
  auto at = [](int slot, const std::string& value) {
    std::string data(48, '0');
    data.replace(static_cast<size_t>(2 * slot), 2, value);
    return data;
  };
  lines.push_back("#39403:" + at(12, "FF"));  // 255 BPM at 37872
  lines.push_back("#39903:" + at(17, "14"));  // 20 BPM at 38372
  for (int lane = 11; lane <= 14; ++lane) lines.push_back("#399" + std::to_string(lane) + ":" + at(lane + 8, "01"));
  lines.push_back("#40001:00");  // the end at 38400
  return Crlf(lines);
}

using Hits = std::vector<std::pair<int32_t, int>>;  // note position, virtual-key code

// A key script for the offline render: each key at the first step reaching its
// note, found by one keyless offline play (its clock starts at 0 as the render's).
std::string OfflineKeyScript(const std::string& chartPath, const Hits& hits) {
  auto chart = std::make_unique<Chart>();
  MemoryLogSink sink;
  DebugLog log(&sink);
  NullMediaLoader media;
  LoadContext context{log, media, {}, {}};
  if (LoadChart(chartPath, *chart, context) != kLoadOk) return {};
  Settings settings;
  SilentSoundBank sounds;
  const KeyMap keys = DefaultKeyMap();  // the play keeps a reference
  VirtualClock clock;
  HeadlessOptions options;
  std::string script;
  size_t next = 0;
  int32_t steppedTick = clock.TickCount();
  const PlayState* state = nullptr;
  options.afterSleep = [&](int32_t tick) {
    for (; next < hits.size() && state->currentPosition >= hits[next].first; ++next) {
      for (const char* action : {" down ", " up "}) {
        script += std::to_string(steppedTick) + action + std::to_string(hits[next].second) + "\n";
      }
    }
    steppedTick = tick;
  };
  HeadlessPlay play(*chart, settings, sounds, keys, log, clock, options);
  state = &play.engine().state();
  play.Run({});
  return next == hits.size() ? script : std::string();
}

TEST_F(MainWindowTest, LongSongPlaysFromTheStartAsTheOfflineRenderDoes) {
  const std::string chart = folder.Write("long.bms", LongSong());
  const Hits hits = {{38384, 'S'}, {38388, 'X'}, {38392, 'D'}};
  const std::string script = OfflineKeyScript(chart, hits);
  ASSERT_FALSE(script.empty());
  folder.Write("keys.txt", script);
  std::filesystem::create_directories(folder.Path("render"));
  QProcess render;
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  env.insert("VREMO_HOME", QString::fromStdString(folder.Path("render")));
  render.setProcessEnvironment(env);
  render.start(VREMO_EXECUTABLE,
               {"--render", QString::fromStdString(folder.Path("long.wav")), "--option", "UserPlay=True", "--input",
                QString::fromStdString(folder.Path("keys.txt")), QString::fromStdString(chart)});
  ASSERT_TRUE(render.waitForFinished(60000));
  ASSERT_EQ(render.exitCode(), 0) << render.readAllStandardError().toStdString();
  const std::string rendered = folder.Read("render/vremoscore.txt");
  ASSERT_NE(rendered.find("1P - fGreat 3 Great 0 Good 0 Bad 0 Poor 1"), std::string::npos) << rendered;

  // The same keys in the window, each within half a unit (judgements round to units).
  Find<QCheckBox>("chkUserPlay")->click();
  auto* seek = Find<SeekBar>("hscSeek");
  const PlayState& state = window->engine().state();
  size_t pressed = 0;
  bool finished = false;
  int highestBarValue = 0;
  std::function<void()> watch = [&] {
    if (finished) return;
    for (; state.running && pressed < hits.size() && state.currentPosition >= hits[pressed].first - 0.5; ++pressed) {
      QTest::keyPress(window.get(), Qt::Key(hits[pressed].second));
      QTest::keyRelease(window.get(), Qt::Key(hits[pressed].second));
    }
    highestBarValue = std::max(highestBarValue, seek->value());
    QTimer::singleShot(1, seek, watch);  // ends with the window
  };
  QTimer::singleShot(0, watch);
  window->RequestPlay(chart);
  ASSERT_TRUE(PlayEnds(1));
  finished = true;
  EXPECT_EQ(pressed, hits.size());
  EXPECT_FALSE(Log().contains("Err: Range over"));
  EXPECT_EQ(folder.Read("vremoscore.txt"), rendered);

  // The bar keeps its wrapped maximum and 0, refuses what it cannot hold, seeks to 0.
  EXPECT_EQ(seek->writtenMaximum(), -27136);
  EXPECT_EQ(highestBarValue, 0);
  EXPECT_EQ(seek->value(), 0);
  EXPECT_FALSE(seek->SetValueIfHeld(1000));
  EXPECT_TRUE(seek->SetValueIfHeld(-192));
  EXPECT_TRUE(Log().endsWith("Err: Range over"));
  EXPECT_TRUE(seek->SetValueIfHeld(0));
  EXPECT_EQ(state.currentPosition, 0.0);
}

}  // namespace
}  // namespace vremo
