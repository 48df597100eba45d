#include "chart/chart_compiler.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using testing::ChartFixture;
using Strings = std::vector<std::string>;

struct Placed {
  int32_t y;
  int32_t channel;
  bool operator==(const Placed&) const = default;
};

class ChartCompiler : public ChartFixture {
 protected:
  std::vector<Placed> Objects() const {
    std::vector<Placed> out;
    for (int32_t i = 0; i < chart->objectCount; ++i) out.push_back({chart->objects[i].y, chart->objects[i].channel});
    return out;
  }
};

TEST_F(ChartCompiler, ObjectsAreSortedByPosition) {
  // Raw order: note 11, note 12, bar line, all at 0; the quicksort puts the bar line first, the notes swapped.
  ASSERT_EQ(LoadLines({"#BPM 120", "#00011:01", "#00012:02"}), kLoadOk);
  EXPECT_EQ(Objects(), (std::vector<Placed>{{0, -1}, {0, 12}, {0, 11}}));

  Strings lines = {"#BPM 120"};
  for (int m = 40; m >= 0; --m) {
    char line[64];
    std::snprintf(line, sizeof line, "#%03d%02d:0101010101010101", m, 11 + m % 9);
    lines.push_back(line);
  }
  ASSERT_EQ(LoadLines(lines), kLoadOk);
  ASSERT_EQ(chart->objectCount, 41 * 8 + 41);
  for (int32_t i = 1; i < chart->objectCount; ++i) EXPECT_LE(chart->objects[i - 1].y, chart->objects[i].y);
}

TEST_F(ChartCompiler, MeasureLengthsScalePositions) {
  ASSERT_EQ(LoadLines({"#BPM 120", "#00102:0.5", "#00111:0001", "#00211:01"}), kLoadOk);
  EXPECT_EQ(Objects(), (std::vector<Placed>{{0, -1}, {192, -1}, {240, 11}, {288, -1}, {288, 11}}));

  // Each short measure adds 0.4992 units, rounded away at every bar; summed once the two would round to 1.
  ASSERT_EQ(LoadLines({"#BPM 120", "#00002:0.0026", "#00102:0.0026", "#00211:01"}), kLoadOk);
  EXPECT_EQ(chart->objects[chart->objectCount - 1].y, 0);
}

TEST_F(ChartCompiler, LengthFollowsTempoChanges) {
  // The whole load log is checked by the --info tool mode; a chart of one measure has no length.
  ASSERT_EQ(LoadLines({"#BPM 120", "#00011:01"}), kLoadOk);
  EXPECT_EQ(InfoLines(), (Strings{"BMSInfo --------", "* BMS-ID: 121", "* 2objects, 0measures", "* TotalNotes 1:1 2:0",
                                  "* length 0ms, 0pixels"}));
  EXPECT_EQ(chart->lengthMs, 0);

  // 192 units at 120 (2000 ms), then 192 units at 180 (1333.3 ms).
  ASSERT_EQ(LoadLines({"#BPM 120", "#00103:B4", "#00211:01"}), kLoadOk);
  EXPECT_EQ(chart->lengthMs, 3333);
  EXPECT_EQ(InfoLines().back(), "* length 3333ms, 384pixels");

  // A fractional tempo counts rounded, halves to even.
  ASSERT_EQ(LoadLines({"#BPM 121.5", "#00111:01"}), kLoadOk);
  EXPECT_EQ(chart->lengthMs, 1967);  // 192 x 1250 / 122

  // Tempo 0 keeps the previous length.
  ASSERT_EQ(LoadLines({"#BPM 120", "#00111:01"}), kLoadOk);
  ASSERT_EQ(chart->lengthMs, 2000);
  ASSERT_EQ(LoadLines({"#BPM 0", "#00211:01"}), kLoadOk);
  EXPECT_EQ(chart->lengthMs, 2000);

  // A speed factor scales the start tempo.
  options.speedFactor = 1.5f;
  ASSERT_EQ(LoadLines({"#BPM 120", "#00011:01"}), kLoadOk);
  EXPECT_FLOAT_EQ(chart->effectiveBpm, 180.0f);
  EXPECT_FLOAT_EQ(chart->unitsPerMs, 0.144f);
}

TEST_F(ChartCompiler, DoublePlayIdentityAndDefaultTotals) {
  ASSERT_EQ(LoadLines({"#PLAYER 3", "#PLAYLEVEL 4", "#RANK 2", "#BPM 150", "#00011:010101", "#00021:0101"}), kLoadOk);
  EXPECT_EQ(chart->totalNotes, (std::array<int32_t, 2>{5, 2}));
  EXPECT_EQ(chart->sidePlayer, (std::array<int32_t, 2>{0, 0}));
  EXPECT_EQ(chart->bmsId, 485);  // (5 + 2) x 5 + 3 x 150
  const Strings info = InfoLines();
  EXPECT_EQ(info[1] + info[3], "* BMS-ID: 485* TotalNotes 1:5 2:2");
  EXPECT_EQ(chart->total, 200);
  EXPECT_FLOAT_EQ(chart->gaugePerNote[0], 40.0f);
  EXPECT_FLOAT_EQ(chart->gaugePerNote[1], 100.0f);
  EXPECT_DOUBLE_EQ(chart->pointsPerNote[0], 20000.0);

  ASSERT_EQ(LoadLines({"#PLAYER 1", "#00011:01", "#00021:01"}), kLoadOk);
  EXPECT_EQ(chart->sidePlayer[1], 1);
  EXPECT_EQ(chart->totalNotes[0], 1);

  // The default total uses the previous rates.
  ASSERT_EQ(LoadLines({"#BPM 120", "#00011:0101"}), kLoadOk);
  EXPECT_EQ(chart->total, 200);
  EXPECT_FLOAT_EQ(chart->gaugePerNote[0], 100.0f);
  EXPECT_TRUE(std::isinf(chart->gaugePerNote[1]) && chart->gaugePerNote[1] > 0);
  EXPECT_TRUE(std::isinf(chart->pointsPerNote[1]));

  // No #TOTAL: the header value 200 is still held.
  ASSERT_EQ(LoadLines({"#00011:01"}), kLoadOk);
  EXPECT_EQ(chart->total, 200);

  // "#TOTAL 0" after a one-sided chart: the default cannot be computed.
  ASSERT_EQ(LoadLines({"#TOTAL 0", "#00011:01"}), kLoadOk);
  EXPECT_EQ(chart->total, 0);
  EXPECT_FLOAT_EQ(chart->gaugePerNote[0], 0.0f);
  EXPECT_TRUE(std::isnan(chart->gaugePerNote[1]));

  ASSERT_EQ(LoadLines({"#TOTAL -5", "#00011:01"}), kLoadOk);
  EXPECT_TRUE(std::isinf(chart->gaugePerNote[1]) && chart->gaugePerNote[1] < 0);
}

TEST_F(ChartCompiler, LaneSoundChangesSitHalfwayBetweenNotes) {
  ASSERT_EQ(LoadLines({"#BPM 120", "#00011:0102", "#00111:02", "#00112:0003"}), kLoadOk);
  std::vector<std::array<int32_t, 3>> changes;  // channel, position, value
  for (int32_t i = 0; i < chart->soundChangeCount; ++i) {
    changes.push_back({chart->soundChanges[i].channel, chart->soundChanges[i].y, chart->soundChanges[i].value});
  }
  EXPECT_EQ(changes, (std::vector<std::array<int32_t, 3>>{{11, 0, 1}, {11, 48, 2}, {12, 144, 3}}));  // (0 + 288) / 2
}

TEST_F(ChartCompiler, HeaderValuesSurviveTheNextLoad) {
  ASSERT_EQ(LoadLines({"#GENRE Jazz", "#TITLE One", "#ARTIST Me", "#BPM 90", "#00011:01"}), kLoadOk);
  EXPECT_EQ(sink.caption, "Vremo v0.26 release - [Jazz] One / Me");
  ASSERT_EQ(LoadLines({"#TITLE Two", "#00011:01"}), kLoadOk);
  EXPECT_EQ(chart->marquee, " * \"Jazz\" Two / Me");
  EXPECT_EQ(chart->marqueeLength, 18);
  EXPECT_EQ(SongInfoLines(*chart), (Strings{"* genre:Jazz", "* title:Two", "* artist:Me", "* player:0",
                                            "* playlevel:0, rank:0", "* bpm:90", "----------------"}));

  // A chart without objects fails; its header is still read.
  ASSERT_EQ(LoadLines({"#TITLE Empty", "#BPM 120"}), kLoadNoObject);
  EXPECT_EQ(sink.lines.back(), "  Err: object not exists.");
  EXPECT_EQ(chart->objectCount, 0);
  EXPECT_EQ(chart->title, "Empty");
}

}  // namespace
}  // namespace vremo
