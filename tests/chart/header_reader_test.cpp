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
  const auto info = ReadChartHeader(path);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->title, "Song");
  EXPECT_EQ(info->artist, "Band");
  EXPECT_EQ(info->genre, "Pop");
  EXPECT_FLOAT_EQ(info->bpm, 120.0f);
  EXPECT_EQ(info->player, 1);
  EXPECT_EQ(info->playLevel, 3);
  EXPECT_EQ(info->rank, 2);
  EXPECT_EQ(info->total, 180);
  EXPECT_EQ(info->volWav, 90);
  EXPECT_EQ(info->midiFile, "m.mid");
  EXPECT_EQ(info->path, path);
  EXPECT_EQ(info->lengthMs, 3333);  // same tempo rule as the player
}

TEST(ChartHeaderReader, MissingAndEmptyCharts) {
  TempFolder folder;
  EXPECT_FALSE(ReadChartHeader((folder.path() / "none.bms").string()));
  const auto info = ReadChartHeader(folder.Write("h.bms", Crlf({"#TITLE Only"})));
  ASSERT_TRUE(info);
  EXPECT_EQ(info->title, "Only");
  EXPECT_EQ(info->lengthMs, 0);
}

}  // namespace
}  // namespace vremo
