#include "play/score_log.h"

#include <gtest/gtest.h>

#include "play/headless_play.h"
#include "tests/play/play_fixture.h"

namespace vremo {
namespace {

using testing::SoundCall;

// Four side-1 notes at 192, 240, 288 and 336 and one side-2 note at 384, at 0.12 units a millisecond.
const std::vector<std::string> kSong = {
    "#GENRE Genre", "#TITLE Title", "#ARTIST Artist", "#BPM 150",        "#PLAYER 1",
    "#PLAYLEVEL 3", "#RANK 2",      "#TOTAL 160",     "#00111:01010101", "#00221:01",
};

// Z on time, Z 36 units early, Z 6 late, the fourth note left alone, N 5 early.
constexpr std::string_view kScript =
    "# scripted presses\n1600 down 90\n1650 up 90\n1700 down 90\n1750 up 90\n\n"
    "2450 down 90\r\n2500 up 90\n3160 down 78\n3170 up 78\n";

const char kExpectedBlock[] =
    "*BMS 470\r\n"
    "*INF Genre\tTitle\tArtist\t3\t2\t150\t4\t1\r\n"
    "*OPT 11364,1,1,0,0,0,0,0,0\r\n"
    "*VAL -3240\r\n"
    "1P - fGreat 1 Great 0 Good 1 Bad 0 Poor 2\r\n"
    "  J-Pts: -66.0pts\r\n"
    "  Pts: 62500pts\r\n"
    "  Ex-Pts: 2pts\r\n"
    "2P - fGreat 0 Great 1 Good 0 Bad 0 Poor 0\r\n"
    "  J-Pts: 13.0pts\r\n"
    "  Pts: 100000pts\r\n"
    "  Ex-Pts: 1pts\r\n"
    "----------------\r\n"
    "\r\n";

using ScoreLogTest = testing::HeadlessFixture;

TEST_F(ScoreLogTest, ScriptedUserPlayAppendsItsBlock) {
  LoadLines(kSong);
  std::string error;
  const auto events = ParseKeyScript(kScript, error);
  ASSERT_TRUE(events) << error;
  folder.Write("vremoscore.txt", "earlier plays\r\n");
  settings.userPlay = true;
  settings.playKeySound = false;
  settings.userRec = true;

  const HeadlessResult result = Play(*events);
  EXPECT_FALSE(result.stopped);
  EXPECT_EQ(result.lastSongInfo, "J-Pts: 0.0pts");
  EXPECT_EQ(folder.Read("vremoscore.txt"), std::string("earlier plays\r\n") + kExpectedBlock);
  EXPECT_EQ(sounds.restarts, (std::vector<SoundCall>{{1, 1600.0}, {1, 1700.0}, {1, 2450.0}, {1, 3160.0}}));
  // The same figures in the debug log, right after the sound wait.
  auto figures = std::find(sink.lines.begin(), sink.lines.end(), "  sounds stopped.");
  ASSERT_NE(figures, sink.lines.end());
  EXPECT_EQ(
      std::vector<std::string>(figures + 1, sink.lines.end()),
      (std::vector<std::string>{"----------------", "1P -", "  J-Pts: -66.0pts", "  Pts: 62500pts", "  Ex-Pts: 2pts",
                                "    fGreat 1 Great 0 Good 1 Bad 0 Poor 2", "2P -", "  J-Pts: 13.0pts",
                                "  Pts: 100000pts", "  Ex-Pts: 1pts", "    fGreat 0 Great 1 Good 0 Bad 0 Poor 0",
                                "----------------", "PlayLoop complete"}));

  // The recorded presses sound again at their positions in a replay.
  EXPECT_FALSE(settings.userRec);
  settings.userPlay = false;
  settings.playRec = true;
  sounds.restarts.clear();
  Play({});
  ASSERT_EQ(sounds.restarts.size(), 4u);
  EXPECT_NEAR(sounds.restarts[0].atMs, 1600.0, 1e-3);    // position 192
  EXPECT_NEAR(sounds.restarts[3].atMs, 3158.333, 1e-2);  // position 379
  EXPECT_EQ(folder.Read("vremoscore.txt").size(), std::string("earlier plays\r\n").size() + sizeof kExpectedBlock - 1);
}

TEST(ScoreLogLines, OptionsAndCheckValues) {
  auto chart = std::make_unique<Chart>();
  chart->bmsId = 470;
  chart->bpm = 150.0f;
  chart->playLevel = 3;
  chart->totalNotes = {4, 2};
  chart->player = 2;
  Settings settings;
  settings.hiSpeed = 2.0f;
  settings.realHiSpeed = 1.5f;
  settings.hidden = true;
  settings.stealth = true;
  EXPECT_EQ(OptionLine(*chart, settings), "*OPT FFF87844,2,2,-1,0,-1,0,0,-1");
  settings.nazo = true;  // counts in the check value, never written
  EXPECT_EQ(OptionLine(*chart, settings), "*OPT FFD60BC4,2,2,-1,0,-1,0,0,-1");

  ScoreBoard scores;
  scores.ResetPlayers();
  scores.players[0].jPts = 20.0f;
  scores.players[1].jPts = -7.0f;
  std::vector<std::string> lines = ScoreLogLines(*chart, scores, settings);
  EXPECT_EQ(lines[3], "*VAL 200,-740");  // 200 x 4 - 600, -70 x 2 - 600
  chart->player = 3;
  EXPECT_EQ(ScoreLogLines(*chart, scores, settings)[3], "*VAL 200");

  chart->bmsId = 2000000000;  // the check value leaves 32 bits: no option line
  EXPECT_FALSE(OptionLine(*chart, settings));
  lines = ScoreLogLines(*chart, scores, settings);
  EXPECT_EQ(lines.size(), 13u);
  EXPECT_EQ(lines[2], "*VAL 200");
  EXPECT_EQ(lines.back(), "");

  EXPECT_FALSE(AppendScoreLog("/nonexistent-folder/deeper", *chart, scores, settings));
}

}  // namespace
}  // namespace vremo
