#include "play/lane_keys.h"

#include <gtest/gtest.h>

#include "tests/play/play_fixture.h"

namespace vremo {
namespace {

using testing::AddObject;
using testing::AddObjects;
using testing::SoundCall;

TEST(DefaultKeyMap, SeventeenKeysOnSixteenLanes) {
  // Z, Shift, Space and "," are checked in the saved key file's bytes.
  const KeyMap map = DefaultKeyMap();
  EXPECT_EQ((std::vector{map['V'], map[13], map[190]}), (std::vector<int16_t>{19, 26, 29}));
  EXPECT_EQ(std::count_if(map.begin(), map.end(), [](int16_t c) { return c != 0; }), 17);
  EXPECT_EQ(std::count(map.begin(), map.end(), 17) + std::count(map.begin(), map.end(), 27), 0);
}

class LaneKeyTest : public testing::PlayFixture {
 protected:
  void SetUp() override {
    chart->bpm = 1250.0f;
    chart->sidePlayer = {0, 1};
    chart->gaugePerNote = {1.0f, 1.0f};
    chart->pointsPerNote = {1.0, 1.0};
    settings.userPlay = true;
    settings.playKeySound = false;
  }
  KeyMap map = DefaultKeyMap();
  LaneKeyInput keys{engine, map};
};

TEST_F(LaneKeyTest, ALaneSoundsOnlyOnThePressThatHoldsIt) {
  AddObject(*chart, 1000, kChannelBackgroundSound, 1);
  engine.StartPlay();
  engine.state().laneKeySound[5] = 2;  // channel 16: Shift and Space
  clock.Set(40);
  keys.KeyDown(kVkShift);
  keys.KeyDown(kVkShift);  // auto-repeat
  keys.KeyDown(kVkSpace);  // the lane is still held
  EXPECT_EQ(sounds.restarts, (std::vector<SoundCall>{{2, 40.0}}));
  keys.KeyUp(kVkShift);  // frees the lane although Space is still down
  EXPECT_TRUE(keys.KeyHeld(kVkSpace));
  EXPECT_FALSE(keys.LaneHeld(16));
  keys.KeyDown(kVkSpace);
  EXPECT_EQ(sounds.restarts.size(), 2u);
  // Nothing near: the press only sounds, it never counts as Poor.
  EXPECT_EQ(engine.scores().players[0].poor, 0);

  keys.KeyDown('A');  // no lane
  keys.KeyDown(300);
  keys.KeyUp(-1);
  map['Q'] = 5;  // a damaged key file
  keys.KeyDown('Q');
  EXPECT_EQ(sounds.restarts.size(), 2u);
}

// Losing the keyboard lets go of every key and lane: the next press sounds.
TEST_F(LaneKeyTest, ReleasingAllKeysFreesEveryLane) {
  engine.StartPlay();
  engine.state().laneKeySound[0] = 3;
  keys.KeyDown('Z');
  keys.KeyDown('N');
  keys.ReleaseAllKeys();
  EXPECT_FALSE(keys.KeyHeld('Z') || keys.KeyHeld('N') || keys.LaneHeld(11) || keys.LaneHeld(21));
  keys.KeyDown('Z');
  EXPECT_EQ(sounds.restarts.size(), 2u);
}

TEST_F(LaneKeyTest, PressJudgesThePendingNoteAndIsRecorded) {
  AddObjects(*chart, {{0, kChannelBarLine, 0, 0}, {100, 11, 3}, {150, 11, 3}});
  settings.userRec = true;
  engine.StartPlay();
  engine.state().laneKeySound[0] = 3;
  StepAndJudge(61);  // 39 units early: the note is already pending
  EXPECT_EQ(engine.state().lanePendingNote[0], 1);
  keys.KeyDown('Z');
  EXPECT_EQ(engine.scores().players[0].poor, 1);
  EXPECT_FLOAT_EQ(engine.scores().players[0].jPts, -42.0f);
  EXPECT_EQ(engine.state().lanePendingNote[0], kNoPendingNote);
  keys.KeyUp('Z');
  StepAndJudge(152);
  engine.state().currentPosition = 152.5;
  keys.KeyDown('Z');
  EXPECT_EQ(engine.scores().players[0].fGreat, 1);  // 2.5 units round to 2
  ASSERT_EQ(engine.record().length(), 2);
  for (int32_t i = 0; i < 2; ++i) {
    const PlayRecordEntry& entry = engine.record().Entry(i);  // the colour of the Poor, then the Fast Great
    EXPECT_EQ((std::vector{entry.measure, entry.position, entry.colour, entry.channel, entry.sound}),
              (std::vector{0, i == 0 ? 61 : 152, i == 0 ? RgbColour(255, 0, 0) : RgbColour(255, 255, 0), 11, 3}));
  }
  EXPECT_EQ(sounds.restarts, (std::vector<SoundCall>{{3, 61.0}, {3, 152.0}}));
}

TEST(KeyEventTick, TrustsTimestampsOnlyBetweenTheLastStepLessAFrameAndSleepAndNow) {
  // The last step at 1000, Sleep 5, delivered at 1010: from 978 on a stamp counts.
  EXPECT_EQ(KeyEventTick(1003, 1010, 1000, 5), 1003.0);
  EXPECT_EQ(KeyEventTick(978, 1010, 1000, 5), 978.0);
  EXPECT_EQ(KeyEventTick(977, 1010, 1000, 5), 1010.0);   // too old
  EXPECT_EQ(KeyEventTick(1011, 1010, 1000, 5), 1010.0);  // in the future
  EXPECT_EQ(KeyEventTick(0, 1010, 1000, 5), 1010.0);     // no stamp at all
  // Stamps wider than 32 bits and the counter's wrap.
  EXPECT_EQ(KeyEventTick((uint64_t{7} << 32) + 1003, 1010, 1000, 5), 1003.0);
  EXPECT_EQ(KeyEventTick(0xFFFFFFFEu, 3, -5, 5), -2.0);
}

TEST(PlayRecord, ExactPositionsAndReleasesLiveInTheSpareField) {
  PlayRecordEntry entry{0, 77, 0, 11, 1, 0};
  EXPECT_EQ(ExactPosition(entry), 77.0);  // a classic entry
  ASSERT_TRUE(SetExactPosition(entry, 192.72));
  EXPECT_EQ(entry.position, 193);
  EXPECT_NEAR(ExactPosition(entry), 192.72, 1e-6);
  entry.spare |= kRecordReleaseFlag;
  ASSERT_TRUE(SetExactPosition(entry, -3.5));
  EXPECT_EQ(entry.position, -4);  // halves to even
  EXPECT_NEAR(ExactPosition(entry), -3.5, 1e-6);
  EXPECT_TRUE(IsRelease(entry));
  EXPECT_FALSE(SetExactPosition(entry, 1e12));
}

TEST(PlayRecord, AppendsPastTheRoomAreCountedButDropped) {
  PlayRecord record;
  record.StartRecording();
  for (int i = 0; i < kRecordCapacity + 1; ++i) record.Append(PlayRecordEntry{0, i, 0, 11, 1, 0});
  EXPECT_EQ(record.length(), kRecordCapacity + 1);
  EXPECT_EQ(record.StoredCount(), kRecordCapacity);
  EXPECT_EQ(record.Entry(kRecordCapacity - 1).position, kRecordCapacity - 1);
  record.StartRecording();
  EXPECT_EQ(record.length(), 0);
  EXPECT_EQ(record.Entry(5).position, 0);
}

}  // namespace
}  // namespace vremo
