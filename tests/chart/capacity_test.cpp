// Charts past the fixed tables: nothing is written past a table, the load
// goes on, and one line says what was dropped.
#include <gtest/gtest.h>

#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using testing::ChartFixture;

// `notes` notes on lane 11 spread over measure 0, 192 to a line.
std::vector<std::string> NoteLines(int notes) {
  std::vector<std::string> lines = {"#BPM 120"};
  while (notes > 0) {
    const int pairs = std::min(notes, 192);
    std::string line = "#00011:";
    for (int i = 0; i < pairs; ++i) line += "01";
    lines.push_back(line);
    notes -= pairs;
  }
  return lines;
}

class ChartCapacity : public ChartFixture {
 protected:
  int ErrorLines() const {
    return static_cast<int>(std::count_if(sink.lines.begin(), sink.lines.end(),
                                          [](const std::string& line) { return line.rfind("  Err:", 0) == 0; }));
  }
};

TEST_F(ChartCapacity, ObjectsPastTheTableAreDroppedWithOneLine) {
  ASSERT_EQ(LoadLines(NoteLines(kMaxObjects - 1)), kLoadOk);  // with the bar line, just full
  EXPECT_EQ(chart->objectCount, kMaxObjects);
  EXPECT_EQ(chart->totalNotes[0], kMaxObjects - 1);
  EXPECT_EQ(ErrorLines(), 0);

  ASSERT_EQ(LoadLines(NoteLines(kMaxObjects + 5)), kLoadOk);
  EXPECT_EQ(chart->objectCount, kMaxObjects);
  EXPECT_EQ(chart->totalNotes[0], kMaxObjects - 1);
  EXPECT_TRUE(Logged("  Err: object table full (10001 entries): 6 objects dropped."));
  EXPECT_EQ(ErrorLines(), 1);
  // The bar line still made it.
  EXPECT_EQ(std::count_if(chart->objects.begin(), chart->objects.end(),
                          [](const ChartObject& object) { return object.channel == kChannelBarLine; }),
            1);
}

TEST_F(ChartCapacity, MeasuresAbove1024AreDropped) {
  // Three characters reach past 1024 only with an exponent.
  ASSERT_EQ(LoadLines({"#BPM 120", "#1e311:01", "#2e311:01", "#5e302:0.5", "#9d911:01"}), kLoadOk);
  EXPECT_EQ(chart->maxMeasure, 1000);
  EXPECT_EQ(chart->objectCount, 1002);  // bar lines 0-1000 and one note
  EXPECT_TRUE(Logged("  Err: measure over 1024: 2 lines dropped."));
  EXPECT_EQ(chart->objects[chart->objectCount - 1].measure, 1000);
}

TEST_F(ChartCapacity, SoundChangesPastTheListAreDropped) {
  // Alternating values on one lane: every note is a change.
  std::vector<std::string> lines = {"#BPM 120"};
  int notes = 0;
  for (int m = 0; notes < kMaxSoundChanges + 2; ++m) {
    char head[16];
    std::snprintf(head, sizeof head, "#%03d11:", m);
    std::string line = head;
    for (int i = 0; i < 96; ++i, ++notes) line += i % 2 == 0 ? "01" : "02";
    lines.push_back(line);
  }
  ASSERT_EQ(LoadLines(lines), kLoadOk);
  EXPECT_EQ(chart->soundChangeCount, kMaxSoundChanges);
  EXPECT_TRUE(Logged("  Err: sound change list full (5001 entries): " + std::to_string(notes - kMaxSoundChanges) +
                     " changes dropped."));
}

}  // namespace
}  // namespace vremo
