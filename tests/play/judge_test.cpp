#include "play/judge.h"
#include "play/lane_keys.h"

#include <gtest/gtest.h>

#include "tests/play/play_fixture.h"

namespace vremo {
namespace {

using testing::AddObject;
using testing::AddObjects;

// A judgement `d` units off at position 10.5, tick 777.
JudgeInput At(int32_t d, float step = 3.0f, double unit = 100.0) { return JudgeInput{d, step, unit, 10.5, 777}; }

TEST(JudgementWindows, KindColourAndEffectsByDistance) {
  struct Case {
    int32_t d, kind, colour;
    float gauge;
    double pts;
    float jPts;
  };
  const Case cases[] = {
      {0, kJudgeFGreat, 0x00FFFF, 25.0f, 200.0, 18.0f}, {2, kJudgeFGreat, 0x00FFFF, 25.0f, 200.0, 16.0f},
      {3, kJudgeGreat, 0x00FF00, 25.0f, 100.0, 15.0f},  {5, kJudgeGreat, 0x00FF00, 25.0f, 100.0, 13.0f},
      {6, kJudgeGood, 0xFF0000, 23.0f, 50.0, 12.0f},    {11, kJudgeGood, 0xFF0000, 23.0f, 50.0, 7.0f},
      {12, kJudgeBad, 0xFF00FF, 13.0f, 0.0, 6.0f},      {17, kJudgeBad, 0xFF00FF, 13.0f, 0.0, 1.0f},
      {18, kJudgeBad, 0xFF00FF, 13.0f, 0.0, 0.0f},      {23, kJudgeBad, 0xFF00FF, 13.0f, 0.0, -10.0f},
      {24, kJudgePoor, 0x0000FF, 4.0f, 0.0, -12.0f},    {48, kJudgePoor, 0x0000FF, 4.0f, 0.0, -60.0f},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.d);
    ScoreBoard board;
    board.ResetPlayers();
    board.players[0].combo = 4;
    board.players[0].displayedGauge = 20.0f;
    EXPECT_EQ(ApplyJudgement(board, 0, At(c.d)), c.kind);
    const PlayerScore& s = board.players[0];
    EXPECT_FLOAT_EQ(s.gauge, c.gauge);
    EXPECT_DOUBLE_EQ(s.pts, c.pts);
    EXPECT_FLOAT_EQ(s.jPts, c.jPts);
    const bool hit = c.kind >= kJudgeGood;
    EXPECT_FLOAT_EQ(s.displayedGauge, hit ? 20.0f : 0.0f);
    // Kind, colour, tick, combo, miss flag and position (10.5 rounds to even), one count.
    EXPECT_EQ((std::vector<int32_t>{s.lastJudgement, board.lastColour, s.lastJudgementTick, s.combo, board.missFlag,
                                    board.missPosition, s.fGreat + s.great + s.good + s.bad + s.poor}),
              (std::vector<int32_t>{c.kind, c.colour, 777, hit ? 5 : 0, !hit, hit ? 0 : 10, 1}));
  }
}

TEST(JudgementWindows, GaugeLimitsComboDigitsAndPointTexts) {
  ScoreBoard board;
  board.ResetPlayers();
  PlayerScore& two = board.players[1];
  EXPECT_FLOAT_EQ(two.gauge, 22.0f);
  for (int i = 0; i < 5; ++i) ApplyJudgement(board, 1, At(4, 13.0f));
  EXPECT_FLOAT_EQ(two.gauge, 87.0f);
  // (100 - 22) / 13 = 6 Greats reach the top, which holds; Poors go down to 0.
  const std::pair<int32_t, float> steps[] = {{4, 100.0f}, {0, 100.0f}, {30, 22.0f}, {30, 0.0f}};
  for (auto [lateness, gauge] : steps) {
    ApplyJudgement(board, 1, At(lateness, 13.0f));
    EXPECT_FLOAT_EQ(two.gauge, gauge) << lateness;
  }
  EXPECT_EQ(board.players[0].poor, 0);

  PlayerScore& s = board.players[0];
  EXPECT_EQ(s.jPtsText + s.ptsText, "00000jp000000p");
  EXPECT_EQ(s.comboDigitTop, -1);
  for (int i = 0; i < 12; ++i) ApplyJudgement(board, 0, At(0, 1.0f, 1.25));
  EXPECT_EQ((std::vector<int32_t>{s.comboDigitTop, s.comboDigits[0], s.comboDigits[1]}), (std::vector{1, 1, 2}));
  EXPECT_EQ(s.jPtsText + s.ptsText, "00216jp000030p");
  ApplyJudgement(board, 0, At(6, 1.0f, 1.25));  // 30.625 rounds up
  EXPECT_EQ(s.ptsText, "000031p");
  EXPECT_EQ(s.ExPts(), 24);
  ApplyJudgement(board, 0, At(48));
  EXPECT_EQ(s.comboDigitTop, -1);
  EXPECT_EQ(s.comboDigits[1], 3);  // older digits stay behind the count
  for (int i = 0; i < 12; ++i) ApplyJudgement(board, 0, At(48));
  EXPECT_EQ(s.jPtsText, "-00552jp");
}

class JudgeNoteTest : public testing::PlayFixture {
 protected:
  // Rate 1: the position equals the milliseconds since the start.
  void SetUp() override {
    chart->bpm = 1250.0f;
    chart->gaugePerNote = {2.0f, 4.0f};
    chart->pointsPerNote = {10.0, 20.0};
    chart->sidePlayer = {0, 1};
    settings.userPlay = true;
    settings.playKeySound = false;
  }
};

TEST_F(JudgeNoteTest, MeasuresLatenessAndFindsThePlayer) {
  AddObjects(*chart, {{100, 11, 1}, {100, 21, 1}, {200, 21, 1}});
  engine.StartPlay();
  StepAt(103);
  engine.JudgeNote(0, 0);
  const auto& players = engine.scores().players;
  EXPECT_EQ(std::pair(players[0].great, chart->objects[0].done), std::pair(1, kTrue16));
  engine.JudgeNote(1, 20);  // given latenesses are used as they are
  EXPECT_EQ(std::pair(players[1].bad, engine.scores().missFlag), std::pair(1, true));
  EXPECT_FLOAT_EQ(players[1].gauge, 10.0f);
  engine.state().pictureChanged = false;
  engine.JudgeNote(2, 0);  // 97 units early
  EXPECT_TRUE(engine.state().pictureChanged);
  EXPECT_EQ(players[1].poor, 1);
  EXPECT_FLOAT_EQ(players[1].jPts, -162.0f);

  chart->sidePlayer = {0, 0};  // double play: side 2 counts for player 1
  engine.JudgeNote(2, 1);
  EXPECT_EQ(std::pair(players[0].fGreat, players[1].fGreat), std::pair(1, 0));
}

TEST_F(JudgeNoteTest, PendingNotesAreTakenWithin40AndMissedAt18) {
  AddObjects(*chart, {{200, 11, 1}, {210, 11, 1}, {240, 21, 1}, {1000, 1, 1}});
  engine.StartPlay();
  auto StepAt = [this](int32_t tick) { StepAndJudge(tick); };
  StepAt(160);  // exactly 40 units before the first note: not yet
  EXPECT_EQ(engine.state().lanePendingNote[0], kNoPendingNote);
  StepAt(161);
  EXPECT_EQ(engine.state().lanePendingNote[0], 0);  // the earlier of the two notes
  EXPECT_EQ(engine.state().lanePendingNote[10], kNoPendingNote);
  StepAt(217);
  EXPECT_EQ(engine.state().lanePendingNote[0], 0);
  EXPECT_EQ(engine.state().lanePendingNote[10], 2);
  engine.scores().players[0].combo = 7;
  engine.scores().players[1].combo = 9;
  StepAt(218);  // 18 late: Poor at 48, then the next note of the lane
  const auto& players = engine.scores().players;
  EXPECT_FLOAT_EQ(players[0].jPts, -60.0f);
  // Poors and combos of both players, and the lane's next note.
  EXPECT_EQ((std::vector{players[0].poor, players[0].combo, players[1].combo, engine.state().lanePendingNote[0]}),
            (std::vector{1, 0, 9, 1}));

  chart->sidePlayer = {0, 0};
  StepAt(258);  // double play: the Poor is player 1's, side 2's combo is cleared
  EXPECT_EQ((std::vector{players[0].poor, players[1].poor, players[1].combo}), (std::vector{3, 0, 0}));

  settings.userPlay = false;  // no pending notes, and nothing is missed
  AddObject(*chart, 1100, 12, 1);
  StepAt(1090);
  EXPECT_EQ(engine.state().lanePendingNote[1], kNoPendingNote);
}

// The modern map: tempo 125 (10 ms a unit), a stop of 96 units at 96 (960 to 1920 ms), 156.25 (8 ms a unit)
// from 192. Notes at 100 (1960 ms), 200 (2944 ms) and 208 (3008 ms).
TEST_F(JudgeNoteTest, ModernDistancesAreTimesInUnitsAtTheNotesTempo) {
  testing::MakeModern(*chart, 125.0);
  chart->timing.AddStop(96, 96);
  chart->timing.AddTempo(192, 156.25);
  AddObjects(*chart, {{100, 11, 1}, {192, kChannelTempo, 156}, {200, 12, 1}, {208, 13, 1}});
  KeyMap map = DefaultKeyMap();
  LaneKeyInput keys{engine, map};
  engine.StartPlay();
  const PlayState& s = engine.state();
  StepAndJudge(1500);  // 4 units away in position, 46 in time: not pending yet
  EXPECT_EQ(s.lanePendingNote[0], kNoPendingNote);
  StepAndJudge(1561);
  EXPECT_EQ(s.lanePendingNote[0], 0);
  StepAndJudge(1900);  // still in the stop: early by the 20 ms left of it and 40 ms of travel
  keys.KeyDown('Z');
  StepAndJudge(2960);  // 48 ms early at 8 ms a unit
  keys.KeyDown('X');
  StepAndJudge(3087);
  EXPECT_EQ(s.lanePendingNote[1], 2);
  StepAndJudge(3088);  // 18 units late
  const PlayerScore& score = engine.scores().players[0];
  EXPECT_EQ((std::vector{score.fGreat, score.great, score.good, score.bad, score.poor}), (std::vector{0, 0, 2, 0, 1}));
  EXPECT_FLOAT_EQ(score.jPts, -36.0f);
  EXPECT_EQ(s.lanePendingNote[1], kNoPendingNote);
}

}  // namespace
}  // namespace vremo
