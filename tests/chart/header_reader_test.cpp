#include <gtest/gtest.h>

#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using testing::Crlf;
using testing::TempFolder;

TEST(ChartHeaderReader, FillsAListEntryWithoutTouchingThePlayer) {
  TempFolder folder;
  const std::string path = folder.Write(
      "a.bms",
      Crlf({"#TITLE Song", "#ARTIST Band", "#GENRE Pop", "#BPM 120", "#PLAYER 1", "#PLAYLEVEL 3", "#RANK 2",
            "#TOTAL 180", "#VOLWAV 90", "#MIDIFILE m.mid", "#WAV01 a.wav", "#BMP01 a.bmp", "#00103:B4", "#00211:01"}));
  auto info = ReadChartHeader(path);
  ASSERT_TRUE(info);
  EXPECT_EQ(testing::HeaderText(*info), "Song|Band|Pop|120|1|3|2|180|90|m.mid");
  EXPECT_EQ(info->path, path);
  EXPECT_EQ(info->lengthMs, 3333);  // same tempo rule as the player

  // Missing and empty charts.
  EXPECT_FALSE(ReadChartHeader((folder.path() / "none.bms").string()));
  info = ReadChartHeader(folder.Write("h.bms", Crlf({"#TITLE Only"})));
  ASSERT_TRUE(info);
  EXPECT_EQ(info->title, "Only");
  EXPECT_EQ(info->lengthMs, 0);
}

}  // namespace
}  // namespace vremo
