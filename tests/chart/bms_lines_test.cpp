#include "chart/bms_lines.h"

#include <gtest/gtest.h>

#include <memory>

#include "chart/chart_text.h"
#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

class ChartLines : public ::testing::Test {
 protected:
  void Read(const std::u32string& line) { ReadChartLine(line, tables, nullptr); }
  const ChartObject& Object(int i) const { return chart->objects[i]; }

  std::unique_ptr<Chart> chart = std::make_unique<Chart>();
  ChartTables tables = TablesOf(*chart);
};

TEST_F(ChartLines, PairsSpreadEvenlyOverTheMeasure) {
  Read(U"00111:01000002");
  ASSERT_EQ(chart->objectCount, 2);
  EXPECT_EQ(Object(0).measure, 1);
  EXPECT_EQ(Object(0).tick, 0);
  EXPECT_EQ(Object(0).y, 192);
  EXPECT_EQ(Object(1).tick, 144);
  EXPECT_EQ(Object(1).y, 336);
  EXPECT_EQ(Object(1).value, 2);
  EXPECT_EQ(chart->totalNotes[0], 2);
  EXPECT_EQ(chart->sideUsed[0], kTrue16);
  EXPECT_EQ(chart->maxMeasure, 1);
}

TEST_F(ChartLines, OddAndBlankPaddedDataKeepTheirLength) {
  Read(U"00111:010");
  ASSERT_EQ(chart->objectCount, 1);
  EXPECT_EQ(Object(0).tick, 0);

  // Trailing blanks count: three pairs, and the blank pair is an object too.
  Read(U"00212:0101  ");
  ASSERT_EQ(chart->objectCount, 4);
  EXPECT_EQ(Object(2).tick, 64);
  EXPECT_EQ(Object(3).tick, 128);
  EXPECT_EQ(Object(3).value, 0);
}

TEST_F(ChartLines, TicksRoundHalvesToEven) {
  // 128 pairs: a step of 1.5 units, so pair 1 is at 2 and pair 3 at 4.
  std::u32string data;
  for (int i = 0; i < 128; ++i) data += U"01";
  Read(U"00011:" + data);
  ASSERT_EQ(chart->objectCount, 128);
  EXPECT_EQ(Object(1).tick, 2);
  EXPECT_EQ(Object(3).tick, 4);
  EXPECT_EQ(Object(5).tick, 8);
}

TEST_F(ChartLines, ValuesAreHexadecimalAndZeroPairsAreSkipped) {
  Read(U"00001:00ff0AZZ");
  ASSERT_EQ(chart->objectCount, 3);
  EXPECT_EQ(Object(0).value, 255);
  EXPECT_EQ(Object(0).tick, 48);
  EXPECT_EQ(Object(1).value, 10);
  EXPECT_EQ(Object(2).value, 0);  // not hexadecimal, still an object
  EXPECT_EQ(chart->totalNotes[0], 0);
}

TEST_F(ChartLines, ChannelsDecideObjectsAndSides) {
  for (const char32_t* line :
       {U"00000:01", U"00005:01", U"00008:01", U"00009:01", U"00010:01", U"00020:01", U"00030:01", U"00051:01"}) {
    Read(line);
  }
  EXPECT_EQ(chart->objectCount, 0);
  Read(U"00503:B4");
  Read(U"00004:01");
  Read(U"00006:01");
  Read(U"00007:01");
  Read(U"00019:01");
  Read(U"00021:01");
  Read(U"00029:0101");
  EXPECT_EQ(chart->objectCount, 8);
  EXPECT_EQ(chart->totalNotes[0], 1);
  EXPECT_EQ(chart->totalNotes[1], 3);
  EXPECT_EQ(chart->sideUsed[1], kTrue16);
  EXPECT_EQ(Object(0).value, 180);
  EXPECT_EQ(chart->maxMeasure, 5);
}

TEST_F(ChartLines, MeasureLengthLinesMakeNoObject) {
  Read(U"00102:0.75");
  Read(U"00302:1.5abc");
  EXPECT_EQ(chart->objectCount, 0);
  EXPECT_FLOAT_EQ(chart->measureLength[1], 0.75f);
  EXPECT_FLOAT_EQ(chart->measureLength[3], 1.5f);
  EXPECT_EQ(chart->maxMeasure, 3);
}

TEST_F(ChartLines, HeaderCommandsByPrefixAndColumn) {
  Read(U"TITLE   Spaced Title  ");
  Read(U"artist someone");
  Read(U"GENRE Trance");
  Read(U"BPM 150.5");
  Read(U"PLAYER 3");
  Read(U"PLAYLEVEL 7");
  Read(U"PLAY 5");
  Read(U"RANK 2");
  Read(U"TOTAL 300.5");
  Read(U"VOLWAV 80");
  Read(U"MIDIFILE song.mid");
  EXPECT_EQ(chart->title, "Spaced Title");
  EXPECT_EQ(chart->artist, "someone");
  EXPECT_EQ(chart->genre, "Trance");
  EXPECT_FLOAT_EQ(chart->bpm, 150.5f);
  EXPECT_EQ(chart->player, 3);
  EXPECT_EQ(chart->playLevel, 7);
  EXPECT_EQ(chart->rank, 2);
  EXPECT_EQ(chart->total, 300);
  EXPECT_EQ(chart->volWav, 80);
  EXPECT_EQ(chart->midiFile, "song.mid");
}

TEST_F(ChartLines, FailedConversionsKeepTheField) {
  Read(U"RANK 1");
  Read(U"RANDOM 2");  // taken as #RANK: "M 2" is no number
  Read(U"BPM01 180");
  Read(U"BPM 150");
  Read(U"BPM abc");
  Read(U"PLAYLEVEL 2.5");
  EXPECT_EQ(chart->rank, 1);
  EXPECT_FLOAT_EQ(chart->bpm, 150.0f);
  EXPECT_EQ(chart->playLevel, 2);
}

class ChartMediaLines : public testing::ChartFixture {};

TEST_F(ChartMediaLines, SlotsAreHexadecimalInEitherCase) {
  ASSERT_EQ(
      LoadLines({"#WAV0A a.wav", "#wav0b b.wav", "#WAVff last.ogg", "#BMP01  bg.png ", "#MIDIFILE x.mid", "#00011:0A"}),
      kLoadOk);
  EXPECT_EQ(chart->wavName[10], "a.wav");
  EXPECT_EQ(chart->wavName[11], "b.wav");
  EXPECT_EQ(chart->wavName[255], "last.ogg");
  EXPECT_EQ(chart->bmpName[1], "bg.png");
  EXPECT_TRUE(Logged("  sorry, MIDIfile is not support."));
}

}  // namespace
}  // namespace vremo

namespace vremo {
namespace {

// Records every call the reader makes, and answers with fixed sizes.
class RecordingMedia : public MediaLoader {
 public:
  void PrepareSurfaces() override { calls.push_back("prepare"); }
  int64_t FreeVideoMemory() override { return 123456; }
  SoundLoadResult LoadSound(int slot, const std::string& path) override {
    calls.push_back("wav " + std::to_string(slot) + " " + path.substr(path.find_last_of('/') + 1));
    if (path.find("missing") != std::string::npos) return {};
    return {true, 22050, 4410.0f};
  }
  void SetSoundFrequency(int slot, int32_t frequency) override {
    calls.push_back("freq " + std::to_string(slot) + " " + std::to_string(frequency));
  }
  PictureLoadResult LoadPicture(int slot, const std::string& path, bool measure) override {
    calls.push_back("bmp " + std::to_string(slot) + " " + path.substr(path.find_last_of('/') + 1) +
                    (measure ? " measured" : ""));
    if (path.find("missing") != std::string::npos) return {};
    return {true, measure ? 320 : 0, measure ? 240 : 0};
  }
  std::vector<std::string> calls;
};

class ChartMediaLoading : public testing::ChartFixture {
 protected:
  ChartMediaLoading() { mediaLoader = &recording; }
  RecordingMedia recording;
};

TEST_F(ChartMediaLoading, MediaLinesReachTheLayerInFileOrder) {
  options.speedFactor = 1.5f;
  ASSERT_EQ(LoadLines({"#BMP01 first.bmp", "#WAV02 kick.wav", "#BMP03 photo.png", "#BMP04 later.BMP",
                       "#BMP05 missing.png", "#WAV06 missing.wav", "#00011:02"}),
            kLoadOk);
  EXPECT_EQ(recording.calls, (std::vector<std::string>{"prepare", "bmp 1 first.bmp", "wav 2 kick.wav", "freq 2 33075",
                                                       "bmp 3 photo.png measured", "bmp 4 later.BMP",
                                                       "bmp 5 missing.png measured", "wav 6 missing.wav"}));
  EXPECT_TRUE(Logged("  VRAM free: 123456bytes"));
  EXPECT_EQ(chart->soundBaseFrequency[2], 22050);
  EXPECT_FLOAT_EQ(chart->soundSize[2], 4410.0f);
  // A BMP file takes the size last measured for another picture type.
  EXPECT_EQ(chart->pictureRect[1].width, 0);
  EXPECT_EQ(chart->pictureRect[3].width, 320);
  EXPECT_EQ(chart->pictureRect[4].width, 320);
  EXPECT_EQ(chart->pictureRect[4].height, 240);
  EXPECT_EQ(chart->pictureRect[5].width, 320);
}

TEST_F(ChartMediaLoading, SwitchesTurnLoadingOff) {
  options.noWav = true;
  options.noBga = true;
  ASSERT_EQ(LoadLines({"#WAV01 a.wav", "#BMP01 a.png", "#00011:01"}), kLoadOk);
  EXPECT_EQ(recording.calls, (std::vector<std::string>{"prepare"}));
  EXPECT_EQ(chart->wavName[1], "a.wav");
}

}  // namespace
}  // namespace vremo
