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

}  // namespace
}  // namespace vremo
