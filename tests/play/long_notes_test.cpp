#include <gtest/gtest.h>

#include "tests/play/play_fixture.h"

namespace vremo {
namespace {

using testing::AddLongNote;
using testing::AddObjects;
using testing::MakeModern;
using testing::SoundCall;

// Tempo 125 on the modern map: 10 ms a unit.
class LongNoteTest : public testing::HeadlessFixture {
 protected:
  void SetUp() override { MakeModern(*chart, 125.0); }
  // Samples which head each listed lane holds after the sleeps that reach these ticks.
  void SampleHeld(std::vector<int32_t> ticks, int32_t lane) {
    options.afterSleep = [this, ticks, lane](int32_t tick) {
      if (std::find(ticks.begin(), ticks.end(), tick) != ticks.end())
        held.push_back(play->engine().state().laneHeldLong[static_cast<size_t>(lane)]);
    };
  }
  std::vector<int32_t> Counts(int player) {
    const PlayerScore& s = play->engine().scores().players[static_cast<size_t>(player)];
    return {s.fGreat, s.great, s.good, s.bad, s.poor};
  }
  std::vector<int32_t> held;
};

TEST_F(LongNoteTest, TailsAreJudgedByTheReleaseHeldThroughOrWithAMissedHead) {
  // Long note i from 192 i + 48 to 192 i + 144 on lane 11 (tails at 1440, 3360, ... ms).
  for (int32_t i = 0; i < 8; ++i) AddLongNote(*chart, 192 * i + 48, 192 * i + 144, 11, 1);
  chart->soundChanges[0] = KeySoundChange{11, 0, 2};
  chart->soundChangeCount = 1;
  settings.userPlay = true;
  settings.playKeySound = false;
  // Each head pressed on time; released 44 units early, 2, 5, 11, 23 and 24 early, held past the tail;
  // the last head is left alone.
  const std::vector<KeyEvent> events = {
      {480, true, 'Z'},   {1000, false, 'Z'},  {2400, true, 'Z'},  {3340, false, 'Z'},  {4320, true, 'Z'},
      {5230, false, 'Z'}, {6240, true, 'Z'},   {7090, false, 'Z'}, {8160, true, 'Z'},   {8890, false, 'Z'},
      {10080, true, 'Z'}, {10800, false, 'Z'}, {12000, true, 'Z'}, {13500, false, 'Z'},
  };
  SampleHeld({2500, 3400, 12500, 13000}, 0);
  Play(events);
  // Heads: 7 fGreat and the missed one; tails: Poor, fGreat, Great, Good, Bad, Poor, fGreat, Poor.
  EXPECT_EQ(Counts(0), (std::vector{9, 1, 1, 1, 4}));
  EXPECT_FLOAT_EQ(play->engine().scores().players[0].jPts, -70.0f);  // 7 x 18 + 16 + 13 + 7 - 10 + 18 - 4 x 60
  EXPECT_EQ(held, (std::vector{2, kNoPendingNote, 12, kNoPendingNote}));
  // The lane sounds once per press; tails and releases are silent.
  EXPECT_EQ(sounds.restarts,
            (std::vector<SoundCall>{
                {2, 480.0}, {2, 2400.0}, {2, 4320.0}, {2, 6240.0}, {2, 8160.0}, {2, 10080.0}, {2, 12000.0}}));

  // DEMO holds every long note: head and tail judged at their steps, each head sounding twice.
  settings.demoMode = true;
  settings.playKeySound = true;
  sounds.restarts.clear();
  held.clear();
  Play({});
  EXPECT_EQ(Counts(0), (std::vector{16, 0, 0, 0, 0}));
  EXPECT_EQ(held, (std::vector{2, kNoPendingNote, 12, kNoPendingNote}));
  EXPECT_EQ(sounds.restarts.size(), 16u);
  EXPECT_EQ(sounds.restarts[2], (SoundCall{1, 2400.0}));

  // Automatic play holds them too and judges nothing.
  settings.demoMode = false;
  settings.userPlay = false;
  held.clear();
  Play({});
  EXPECT_EQ(Counts(0), (std::vector{0, 0, 0, 0, 0}));
  EXPECT_EQ(held, (std::vector{2, kNoPendingNote, 12, kNoPendingNote}));
}

TEST_F(LongNoteTest, MinesHurtAPressedLaneByTheirValueAndNeverInAutomaticPlay) {
  // Side-1 mines of 5, ZZ (held off), 3 on lane 13 and ZZ; a side-2 mine of 7.
  AddObjects(*chart, {{100, 112, 5}, {150, 121, 7}, {200, 112, 1295}, {250, 113, 3}, {300, 112, 1295}});
  settings.userPlay = true;
  const std::vector<KeyEvent> events = {
      {500, true, 'S'},  {1100, false, 'S'}, {1400, true, 'N'}, {1600, false, 'N'},
      {2400, true, 'X'}, {2600, false, 'X'}, {2900, true, 'S'}, {3100, false, 'S'},
  };
  std::vector<float> gauges;
  options.afterSleep = [this, &gauges](int32_t tick) {
    if (tick == 2700) gauges.push_back(play->engine().scores().players[0].gauge);
  };
  Play(events);
  const auto& players = play->engine().scores().players;
  EXPECT_EQ(gauges, (std::vector{14.0f}));  // 22 - 5 - 3
  EXPECT_FLOAT_EQ(players[0].gauge, 0.0f);  // ZZ empties it
  EXPECT_FLOAT_EQ(players[1].gauge, 15.0f);
  // The figures of a modern play end each player's block with the gauge.
  const auto p2 = std::find(sink.lines.begin(), sink.lines.end(), "2P -");
  ASSERT_NE(p2, sink.lines.end());
  EXPECT_EQ(std::vector<std::string>(p2 - 2, p2 + 6),
            (std::vector<std::string>{"  Gauge: 0.0%", "    fGreat 0 Great 0 Good 0 Bad 0 Poor 0", "2P -",
                                      "  J-Pts: 0.0pts", "  Pts: 0pts", "  Ex-Pts: 0pts", "  Gauge: 15.0%",
                                      "    fGreat 0 Great 0 Good 0 Bad 0 Poor 0"}));
  EXPECT_EQ(Counts(0), (std::vector{0, 0, 0, 0, 0}));
  EXPECT_EQ(players[0].combo + players[1].poor + players[1].fGreat, 0);
  EXPECT_TRUE(sounds.restarts.empty());  // the mines' values are loaded slots, yet nothing sounds

  // DEMO and automatic play neither hurt nor play mines.
  for (bool demo : {true, false}) {
    settings.demoMode = demo;
    settings.userPlay = demo;
    Play(events);
    EXPECT_EQ(std::pair(players[0].gauge, players[1].gauge), std::pair(22.0f, 22.0f)) << demo;
    EXPECT_TRUE(sounds.restarts.empty());
  }
}

}  // namespace
}  // namespace vremo
