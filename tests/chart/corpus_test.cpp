// Real charts by BMS authors, from the shared corpus beside the checkout: they must load with the totals,
// lengths and titles a player expects.
#include <gtest/gtest.h>

#include <filesystem>

#include "chart/chart_compiler.h"
#include "chart/modern_reader.h"
#include "chart/timeline.h"
#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

struct CorpusChart {
  const char* file;
  const char* title;
  int32_t player;
  int32_t notes1;
  int32_t notes2;
  int32_t lengthMs;
  int32_t maxMeasure;
};

class CorpusCharts : public testing::ChartFixture {
 protected:
  static std::string PathOf(const char* file) { return std::string(VREMO_CORPUS_DIR) + "/" + file; }
  void SetUp() override {
    if (!std::filesystem::exists(VREMO_CORPUS_DIR)) GTEST_SKIP() << "no corpus at " << VREMO_CORPUS_DIR;
  }
};

TEST_F(CorpusCharts, LoadWithTheirTotalsLengthsTitlesAndTexts) {
  const CorpusChart charts[] = {
      {"moontide/moontide_7p.bme", "moontide (bms edit) [professional]", 1, 771, 0, 112929, 65},
      {"moontide/moontide_5.bms", "moontide (bms edit)", 1, 580, 0, 112929, 65},
      // Double play: side 2's notes are added to side 1.
      {"moontide/moontide_14keys_e.bme", "moontide (bms edit) [14keys easy]", 3, 320, 158, 112929, 65},
      {"passionflower/passionflower_14a.bme", "passion flower [14keys Another]", 3, 1452, 657, 129375, 69},
      {"j219/J219_7key.bms", "J219", 1, 323, 0, 91480, 56},
      {"dive_withblank/dive_withblank.bme", "FREEDOM DiVE [Test]", 1, 1, 0, 1284, 1},
  };
  for (const CorpusChart& expected : charts) {
    SCOPED_TRACE(expected.file);
    ASSERT_EQ(LoadPath(PathOf(expected.file)), kLoadOk);
    EXPECT_EQ(chart->title, expected.title);
    EXPECT_EQ(
        (std::vector{chart->player, chart->totalNotes[0], chart->totalNotes[1], chart->lengthMs, chart->maxMeasure}),
        (std::vector{expected.player, expected.notes1, expected.notes2, expected.lengthMs, expected.maxMeasure}));
    for (int32_t i = 1; i < chart->objectCount; ++i) ASSERT_LE(chart->objects[i - 1].y, chart->objects[i].y);
  }
  // dive_withblank, loaded last, has tabs and empty media lines. "1O".."1S" are read as hexadecimal: the
  // leading "1" is slot 01, and the last of them, "#WAV1S " with no name, is the one that stays.
  EXPECT_EQ(chart->wavName[1] + chart->bmpName[1], "");
  EXPECT_EQ(chart->total, 500);
  EXPECT_FLOAT_EQ(chart->bpm, 222.22f);
  EXPECT_EQ(SongInfoLines(*chart)[5], "* bpm:222.22");

  // UTF-8 with a byte order mark.
  ASSERT_EQ(LoadPath(PathOf("j219/J219_7key.bms")), kLoadOk);
  EXPECT_EQ(chart->genre, "EURO BEAT");
  EXPECT_EQ(chart->artist, "cranky (obj: Mikuro Xina)");
  EXPECT_EQ(chart->wavName[1], "bd01.wav");
  // The LF-only copy is one long line: no object, the previous title stays.
  EXPECT_EQ(LoadPath(PathOf("j219/J219_7key_lf.bms")), kLoadNoObject);
  EXPECT_EQ(sink.lines.back(), "  Err: object not exists.");
  EXPECT_EQ(chart->title, "J219");
}

TEST_F(CorpusCharts, TheModernReadingTakesLfCopiesBase36SlotsAndFractionalTempos) {
  options.modernReading = true;
  auto timelineOf = [this](const char* file) {
    std::vector<ModernObject> objects;
    LoadContext context{log, *mediaLoader, options, {}};
    EXPECT_EQ(LoadModernChart(PathOf(file), *chart, context, &objects), kLoadOk) << file;
    return ModernTimeline(objects, chart->timing);
  };
  const std::vector<std::string> crlf = timelineOf("j219/J219_7key.bms");
  EXPECT_EQ(crlf.size(), 1700u);
  EXPECT_EQ(timelineOf("j219/J219_7key_lf.bms"), crlf);
  EXPECT_EQ((std::vector{chart->totalNotes[0], chart->lengthMs, chart->maxMeasure}), (std::vector{323, 91480, 56}));

  // Slots "1O".."1S" are base 36; a tab inside a name stays part of it.
  ASSERT_EQ(LoadPath(PathOf("dive_withblank/dive_withblank.bme")), kLoadOk);
  EXPECT_EQ(chart->wavName[1 * 36 + 24], "Cymbals\tCrash 05.wav");
  EXPECT_EQ(chart->wavName[1 * 36 + 28], "");
  EXPECT_EQ(chart->lengthMs, 1283);  // 222.22 BPM, not 222
}

}  // namespace
}  // namespace vremo
