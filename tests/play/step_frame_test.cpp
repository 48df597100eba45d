#include <gtest/gtest.h>

#include "tests/play/play_fixture.h"

namespace vremo {
namespace {

using testing::AddObject;
using testing::AddObjects;
using testing::MakeModern;
using testing::SoundCall;

// Rate 1 (tempo 1250): a position is the milliseconds since the start.
class StepFrameTest : public testing::PlayFixture {
 protected:
  void SetUp() override {
    chart->bpm = 1250.0f;
    chart->sidePlayer = {0, 1};
    chart->gaugePerNote = {1.0f, 1.0f};
    chart->pointsPerNote = {1.0, 1.0};
  }
  void StartAt(int32_t tick) {
    clock.Set(tick);
    Seek(0);
    engine.StartPlay();
  }
  void AddRecordEntry(int32_t position, int32_t sound) {
    entries.push_back(PlayRecordEntry{0, position, 0, 11, sound, 0});
    engine.record().Assign(entries, static_cast<int32_t>(entries.size()));
  }
  std::vector<PlayRecordEntry> entries;
};

TEST_F(StepFrameTest, ObjectsFireAtTheirPositionScheduleAndRecordOneStepLater) {
  AddObjects(*chart, {{100, kChannelBackgroundSound, 1}, {200, kChannelBackgroundSound, 2}});
  chart->soundChanges[0] = KeySoundChange{11, 100, 5};
  chart->soundChangeCount = 1;
  settings.playRec = true;
  StartAt(1000);
  AddRecordEntry(100, 7);
  StepAt(1100);
  EXPECT_EQ(sounds.restarts, (std::vector<SoundCall>{{1, 1100.0}}));
  EXPECT_EQ(std::pair(engine.state().laneKeySound[0], engine.state().nextObject), std::pair(0, 1));
  StepAt(1101);
  EXPECT_EQ(engine.state().laneKeySound[0], 5);
  EXPECT_EQ(sounds.restarts, (std::vector<SoundCall>{{1, 1100.0}, {7, 1100.0}}));
}

TEST_F(StepFrameTest, SoundsFortyEightUnitsLateAreSkippedButConsumed) {
  AddObjects(*chart,
             {{200, kChannelBackgroundSound, 2}, {300, 11, 3}, {500, kChannelBackgroundSound, 1}, {600, 11, 3}});
  settings.playRec = true;
  StartAt(1000);
  AddRecordEntry(400, 5);
  AddRecordEntry(450, 7);
  for (int32_t tick : {1247, 1348, 1448, 1497, 1547, 1648}) StepAt(tick);
  EXPECT_EQ(sounds.restarts, (std::vector<SoundCall>{{2, 1200.0}, {7, 1450.0}, {1, 1500.0}}));
  const PlayState& s = engine.state();
  EXPECT_EQ((std::vector{s.nextObject, s.nextRecordEntry, s.lastLateness}), (std::vector{4, 2, 48}));
}

TEST_F(StepFrameTest, EachChannelDoesItsOwnThing) {
  AddObjects(*chart,
             {{10, kChannelBarLine, 0, 3}, {20, 31, 5, 0}, {30, kChannelBgaBase, 9, 0}, {40, kChannelBgaLayer, 8, 0}});
  AddObjects(*chart, {{50, kChannelBgaPoor, 7}, {60, 17, 2}, {100, 12, 3}});
  settings.playKeySound = false;
  StartAt(0);
  StepAt(60);
  const PlayState& s = engine.state();
  EXPECT_DOUBLE_EQ(s.measureShown, 3.0);
  // Lane 31 sets the key sound of lane 11; then the base, layer and miss pictures.
  EXPECT_EQ((std::vector{s.laneKeySound[0], s.basePicture, s.layerPicture, s.missPicture}), (std::vector{5, 9, 8, 7}));
  EXPECT_TRUE(s.pictureChanged);
  EXPECT_TRUE(sounds.restarts.empty());

  // Automatic play judges each note as its step finds it, here 4 units late.
  settings.demoMode = true;
  settings.playKeySound = true;
  engine.state().lanePendingNote[1] = 6;
  StepAt(104);
  EXPECT_EQ(sounds.restarts, (std::vector<SoundCall>{{3, 100.0}, {3, 100.0}}));
  EXPECT_EQ((std::vector<int32_t>{s.lanePendingNote[1], engine.scores().players[0].great, chart->objects[6].done}),
            (std::vector<int32_t>{kNoPendingNote, 1, kTrue16}));
}

TEST_F(StepFrameTest, StatusLineShowsFramesMeasuresAndTimes) {
  AddObjects(*chart, {{0, kChannelBarLine, 0, 0}, {30000, kChannelBarLine, 0, 11}, {40000, kChannelBarLine, 0, 12}});
  chart->maxMeasure = 64;
  chart->playLengthMs = 130000;
  settings.sleepMs = 16;
  clock.Set(0);
  Seek(35000);
  EXPECT_EQ(host.songInfo.back(), "<0fps> 11/64 [0:35/2:10] ");
  engine.StartPlay();
  while (clock.TickCount() <= 1008) engine.RunPass();
  // A bar line shows the status while it is still the next object.
  EXPECT_EQ(host.songInfo, (std::vector<std::string>{"<0fps> 11/64 [0:35/2:10] ", "<0fps> 11/64 [0:35/2:10] ",
                                                     "<63fps> 12/64 [0:36/2:10] "}));
  EXPECT_TRUE(host.seekBar.empty());  // 36008 does not fit the 16-bit bar
}

TEST_F(StepFrameTest, PlayLoopWaitsForSoundsThenFinishes) {
  chart->genre = "g";
  chart->title = "t";
  chart->artist = "a";
  AddObject(*chart, 100, kChannelBackgroundSound, 1);
  sounds.lengthMs = 50;
  engine.SetScoreLogFolder(folder.path());
  engine.PlayLoop();
  EXPECT_EQ(sink.lines,
            (std::vector<std::string>{"PlayLoop --------", "  initialize...", "  playloop start", "  play-loop end.",
                                      "  waiting for sounds stop...", "  sounds stopped.", "PlayLoop complete"}));
  EXPECT_EQ(sink.caption, "Vremo v0.26 release - [g] t / a");
  EXPECT_EQ(clock.TickCount(), 155);
  EXPECT_EQ(host.songInfo.back(), "curpoly: 0");
  EXPECT_EQ(std::count(host.songInfo.begin(), host.songInfo.end(), "curpoly: 1"), 9);
  EXPECT_EQ(std::pair(host.timerStarts, host.timerKills), std::pair(1, 1));
  EXPECT_EQ(host.seekBar.back(), 100);
  EXPECT_FALSE(engine.Playing());
  EXPECT_FALSE(std::filesystem::exists(folder.Path("vremoscore.txt")));  // not a user play
}

TEST_F(StepFrameTest, StopDuringTheSoundWaitEndsWithoutScoreLog) {
  AddObject(*chart, 100, kChannelBackgroundSound, 1);
  sounds.lengthMs = 1000;
  settings.userPlay = true;
  engine.SetScoreLogFolder(folder.path());
  host.onMessages = [this] {
    if (clock.TickCount() >= 120) engine.RequestStop();
  };
  engine.PlayLoop();
  EXPECT_EQ(clock.TickCount(), 125);
  EXPECT_TRUE(Logged("  sounds stopped."));
  EXPECT_FALSE(std::filesystem::exists(folder.Path("vremoscore.txt")));

  // Without the wait a user play logs its score at once.
  settings.dontWait = true;
  host.onMessages = nullptr;
  sink.lines.clear();
  clock.Set(0);
  Seek(0);
  engine.PlayLoop();
  EXPECT_FALSE(Logged("  waiting for sounds stop..."));
  EXPECT_EQ(host.songInfo.back(), "J-Pts: 0.0pts");
  EXPECT_TRUE(std::filesystem::exists(folder.Path("vremoscore.txt")));
}

TEST_F(StepFrameTest, PlayTimerSmoothsTheGaugeAndStepsWhileRunning) {
  AddObject(*chart, 100, kChannelBackgroundSound, 1);
  StartAt(0);
  engine.scores().players[1].gauge = 50.0f;
  clock.Set(100);
  engine.PlayTimerProc();
  EXPECT_FLOAT_EQ(engine.scores().players[0].displayedGauge, 2.2f);
  EXPECT_FLOAT_EQ(engine.scores().players[1].displayedGauge, 5.0f);
  EXPECT_EQ(engine.state().nextObject, 1);
  EXPECT_TRUE(engine.PlayTimerActive());
  engine.RequestStop();
  engine.PlayTimerProc();
  EXPECT_FALSE(engine.PlayTimerActive());
  EXPECT_EQ(host.timerKills, 1);
}

// The modern map: tempo 125 (10 ms a unit), a stop of 96 units (960 ms) at 96, a change to 156.25 (8 ms a
// unit) at 192. Background sounds at 96, 100 and 288 come at 960, 1960 and 3648 ms.
class ModernClockTest : public testing::PlayFixture {
 protected:
  void SetUp() override {
    MakeModern(*chart, 125.0);
    chart->timing.AddStop(96, 96);
    chart->timing.AddTempo(192, 156.25);
    AddObjects(*chart, {{96, kChannelBackgroundSound, 1},
                        {100, kChannelBackgroundSound, 2},
                        {192, kChannelTempo, 156},
                        {288, kChannelBackgroundSound, 3}});
  }
  void StartAt(int32_t tick) {
    clock.Set(tick);
    Seek(0);
    engine.StartPlay();
  }
};

TEST_F(ModernClockTest, StopsHoldThePositionAndEverySoundComesAtItsExactTime) {
  settings.playRec = true;
  engine.record().Assign({PlayRecordEntry{0, 96, 0, 11, 7, 0}}, 1);  // pressed during the stop
  StartAt(0);
  const PlayState& s = engine.state();
  StepAt(959);
  EXPECT_TRUE(sounds.restarts.empty());
  StepAt(960);
  StepAt(965);
  StepAt(1500);
  EXPECT_EQ(std::pair(s.currentPosition, s.scaledTempo), std::pair(96.0, 125.0f));
  StepAt(1959);
  EXPECT_NEAR(s.currentPosition, 99.9, 1e-9);
  EXPECT_EQ(sounds.restarts.size(), 2u);
  StepAt(1960);
  StepAt(3647);
  // The tempo object is only information: the offset never moves.
  EXPECT_NEAR(s.currentPosition, 287.875, 1e-9);
  EXPECT_EQ(std::tuple(s.scaledTempo, s.rate, s.positionOffset, s.nextObject), std::tuple(156.25f, 0.125f, 0, 3));
  StepAt(3648);
  EXPECT_EQ(sounds.restarts, (std::vector<SoundCall>{{1, 960.0}, {7, 960.0}, {2, 1960.0}, {3, 3648.0}}));

  // At double speed everything comes in half the time; a speed change goes on from where the play is.
  settings.playRec = false;
  settings.realHiSpeed = 2.0f;
  sounds.restarts.clear();
  StartAt(0);
  StepAt(480);
  StepAt(500);
  EXPECT_EQ(std::pair(s.currentPosition, s.scaledTempo), std::pair(96.0, 250.0f));
  engine.ChangeSpeed(1.0);
  settings.realHiSpeed = 1.0f;
  StepAt(1459);
  StepAt(1460);
  EXPECT_EQ(sounds.restarts, (std::vector<SoundCall>{{1, 480.0}, {2, 1460.0}}));

  // A seek finds its time on the map; the object before the target is 92 units late and stays silent.
  clock.Set(5000);
  Seek(192);
  EXPECT_EQ(std::tuple(s.startTick, s.nextObject, s.chartMs), std::tuple(2120, 1, 2880.0));
  StepAt(5767);
  StepAt(5768);
  EXPECT_EQ(sounds.restarts.back(), (SoundCall{3, 5768.0}));
  EXPECT_EQ(sounds.restarts.size(), 3u);
}

}  // namespace
}  // namespace vremo
