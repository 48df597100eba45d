#include "play/headless_play.h"

#include <gtest/gtest.h>

#include <tuple>

#include "tests/play/play_fixture.h"

namespace vremo {
namespace {

TEST(KeyScript, ReadsEventsInTimeOrderAndRefusesOtherLinesNamingThem) {
  std::string error;
  const auto events = ParseKeyScript("# comment\r\n\r\n  200 up 90 \n100\tdown\t90\n100 down 16\n0 up 255", error);
  ASSERT_TRUE(events) << error;
  std::vector<std::tuple<int32_t, bool, int32_t>> read;
  for (const KeyEvent& event : *events) read.emplace_back(event.timeMs, event.down, event.keyCode);
  // Equal times keep the file's order.
  EXPECT_EQ(read, (decltype(read){{0, false, 255}, {100, true, 90}, {100, true, 16}, {200, false, 90}}));

  const std::pair<std::string, std::string> cases[] = {
      {"100 down 90\n100 press 90", "line 2: \"press\" is neither down nor up"},
      {"\n\n-5 down 90", "line 3: \"-5\" is not a time in milliseconds"},
      {"1.5 down 90", "line 1: \"1.5\" is not a time in milliseconds"},
      {"100 down 256", "line 1: \"256\" is not a virtual-key code 0-255"},
      {"100 down", "line 1: expected \"MILLISECONDS down|up VK\", found \"100 down\""},
      {"# ok\n100 down 90 extra", "line 2: expected \"MILLISECONDS down|up VK\", found \"100 down 90 extra\""},
  };
  for (const auto& [text, message] : cases) {
    EXPECT_FALSE(ParseKeyScript(text, error));
    EXPECT_EQ(error, message);
  }
}

using HeadlessPlayTest = testing::HeadlessFixture;

TEST_F(HeadlessPlayTest, DemoModeJudgesEveryNoteAndLogsNoScore) {
  LoadLines({"#BPM 150", "#TOTAL 100", "#00111:01010101", "#00112:0101", "#00101:02"});
  settings.userPlay = true;
  settings.demoMode = true;
  sounds.lengthMs = 100;
  const HeadlessResult result = Play({});
  const PlayerScore& score = play->engine().scores().players[0];
  EXPECT_EQ(std::pair(score.fGreat + score.great, score.combo), std::pair(6, 6));
  EXPECT_FLOAT_EQ(score.gauge, 100.0f);
  // Each note twice (key sound and automatic play) and the background sound.
  EXPECT_EQ(sounds.restarts.size(), 13u);
  EXPECT_FALSE(result.stopped);
  EXPECT_GE(result.elapsedMs, 2900);  // the last sound dies 100 ms after 2800
  EXPECT_TRUE(Logged("  sounds stopped."));
  EXPECT_FALSE(std::filesystem::exists(folder.Path("vremoscore.txt")));
}

TEST_F(HeadlessPlayTest, AStalledPlayIsStoppedAtItsTimeLimit) {
  LoadLines({"#BPM 0", "#00111:01"});
  settings.userPlay = true;
  options.timeLimitMs = 200;
  const HeadlessResult result = Play({{50, true, 'Z'}});
  EXPECT_TRUE(result.stopped);
  EXPECT_EQ(result.elapsedMs, 215);  // one pass of the sound wait follows the stop
  EXPECT_TRUE(Logged("  Err: play time limit reached, stopped."));
  EXPECT_EQ(sink.lines.back(), "PlayLoop complete");
  EXPECT_FALSE(std::filesystem::exists(folder.Path("vremoscore.txt")));
}

// 300 BPM: 0.24 units a millisecond, the note at measure 1 comes at 800 ms.
// With Sleep 20 the passes fall at 780, 800, 820: a key that went down at
// 801 is handled at 820.
TEST_F(HeadlessPlayTest, PressesAreJudgedAtTheirKeyTimeLessTheJudgeOffset) {
  LoadLines({"#BPM 300", "#TOTAL 100", "#00111:01", "#00211:01", "#00401:01"});
  settings.userPlay = true;
  settings.sleepMs = 20;
  struct Case {
    int32_t keyMs;
    bool atKeyTime;
    int32_t judgeOffset;
    int32_t fGreat, great;  // of the two notes (the second pressed 800 ms later)
  };
  const Case cases[] = {
      {801, false, 0, 0, 2},   // judged at the pass: 19 ms late, 4.56 units: Great
      {801, true, 0, 2, 0},    // at the key: 0.24 units
      {820, false, 20, 2, 0},  // the pass's moment less 20 ms
      {801, true, -20, 0, 2},  // judged 20 ms later: 5.04 units
  };
  for (const Case& c : cases) {
    settings.judgeAtKeyTime = c.atKeyTime;
    settings.judgeOffsetMs = c.judgeOffset;
    HeadlessPlay run(*chart, settings, sounds, keyMap, log, clock, options);
    clock.Set(0);
    const int32_t second = c.keyMs + 800;
    run.Run({{c.keyMs, true, 'Z'}, {c.keyMs + 50, false, 'Z'}, {second, true, 'Z'}, {second + 50, false, 'Z'}});
    const PlayerScore& score = run.engine().scores().players[0];
    EXPECT_EQ(std::tuple(score.fGreat, score.great, score.poor), std::tuple(c.fGreat, c.great, 0))
        << c.keyMs << " " << c.atKeyTime << " " << c.judgeOffset;
  }
}

// A play judged at key times is recorded with the positions' fractions and
// the releases; replaying the record judges the same, long notes included.
TEST_F(HeadlessPlayTest, AReplayJudgesAsThePlayItRecordedDid) {
  testing::MakeModern(*chart, 300.0);
  testing::AddObject(*chart, 192, 11, 1);
  testing::AddLongNote(*chart, 240, 288, 12, 2);
  testing::AddObject(*chart, 336, 11, 1);
  settings.userPlay = settings.userRec = settings.judgeAtKeyTime = true;
  settings.sleepMs = 20;
  Play({{803, true, 'Z'},
        {830, false, 'Z'},
        {1009, true, 'S'},
        {1193, false, 'S'},
        {1389, true, 'Z'},
        {1420, false, 'Z'}});
  const PlayerScore played = play->engine().scores().players[0];
  ASSERT_EQ(play->engine().record().length(), 6);
  const PlayRecordEntry& first = play->engine().record().Entry(0);
  EXPECT_EQ(first.position, 193);  // 192.72, kept whole in the fraction
  EXPECT_NEAR(ExactPosition(first), 192.72, 1e-6);
  EXPECT_FALSE(IsRelease(first));
  EXPECT_TRUE(IsRelease(play->engine().record().Entry(1)));
  EXPECT_EQ(played.fGreat + played.great + played.good, 4);

  settings.userRec = false;
  settings.playRec = true;
  Play({});
  const PlayerScore& replayed = play->engine().scores().players[0];
  EXPECT_EQ(std::tuple(replayed.fGreat, replayed.great, replayed.good, replayed.bad, replayed.poor),
            std::tuple(played.fGreat, played.great, played.good, played.bad, played.poor));
  EXPECT_FLOAT_EQ(replayed.jPts, played.jPts);

  // Without the option a replay only sounds the presses, as it always did.
  settings.judgeAtKeyTime = false;
  Play({});
  const PlayerScore& silent = play->engine().scores().players[0];
  EXPECT_EQ(std::tuple(silent.fGreat, silent.great, silent.good, silent.bad), std::tuple(0, 0, 0, 0));
  EXPECT_GT(silent.poor, 0);
}

}  // namespace
}  // namespace vremo
