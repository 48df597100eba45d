#include "chart/bms_lines.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

#include "chart/chart_text.h"
#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using Rows = std::vector<std::array<int32_t, 4>>;  // measure, tick, y, value

class ChartLines : public ::testing::Test {
 protected:
  void Read(const std::u32string& line) { ReadChartLine(line, tables, nullptr); }
  void ReadAll(std::initializer_list<const char32_t*> lines) {
    for (const char32_t* line : lines) Read(line);
  }
  const ChartObject& Object(int i) const { return chart->objects[i]; }
  Rows Objects(int32_t from) const {
    Rows rows;
    for (int32_t i = from; i < chart->objectCount; ++i)
      rows.push_back({Object(i).measure, Object(i).tick, Object(i).y, Object(i).value});
    return rows;
  }

  std::unique_ptr<Chart> chart = std::make_unique<Chart>();
  ChartTables tables = TablesOf(*chart);
};

TEST_F(ChartLines, DataPairsSpreadEvenlyOverTheMeasureTicksRoundingHalvesToEven) {
  // Hexadecimal values; "00" pairs are skipped, others that are no number are objects of value 0.
  Read(U"00001:00ff0AZZ");
  EXPECT_EQ(Objects(0), (Rows{{0, 48, 48, 255}, {0, 96, 96, 10}, {0, 144, 144, 0}}));
  EXPECT_EQ(chart->totalNotes[0], 0);

  Read(U"00111:01000002");
  EXPECT_EQ(Objects(3), (Rows{{1, 0, 192, 1}, {1, 144, 336, 2}}));
  EXPECT_EQ(chart->totalNotes[0], 2);
  EXPECT_EQ(chart->sideUsed[0], kTrue16);
  EXPECT_EQ(chart->maxMeasure, 1);

  // An odd last character is lost; trailing blanks count, and the blank pair is an object too.
  Read(U"00111:010");
  Read(U"00212:0101  ");
  EXPECT_EQ(Objects(5), (Rows{{1, 0, 192, 1}, {2, 0, 384, 1}, {2, 64, 448, 1}, {2, 128, 512, 0}}));

  // Ticks round halves to even. 128 pairs: a step of 1.5 units, so pair 1 is at 2 and pair 3 at 4.
  Read(U"00011:" + std::u32string(256, U'1'));
  ASSERT_EQ(chart->objectCount, 9 + 128);
  EXPECT_EQ((std::vector{Object(10).tick, Object(12).tick, Object(14).tick}), (std::vector{2, 4, 8}));
}

TEST_F(ChartLines, ChannelsDecideObjectsAndSides) {
  ReadAll({U"00000:01", U"00005:01", U"00008:01", U"00009:01", U"00010:01", U"00020:01", U"00030:01", U"00051:01"});
  EXPECT_EQ(chart->objectCount, 0);
  ReadAll({U"00503:B4", U"00004:01", U"00006:01", U"00007:01", U"00019:01", U"00021:01", U"00029:0101"});
  EXPECT_EQ(chart->objectCount, 8);
  EXPECT_EQ(chart->totalNotes, (std::array<int32_t, 2>{1, 3}));
  EXPECT_EQ(chart->sideUsed[1], kTrue16);
  EXPECT_EQ(Object(0).value, 180);
  EXPECT_EQ(chart->maxMeasure, 5);

  // Measure lengths make no object.
  ReadAll({U"00102:0.75", U"00302:1.5abc"});
  EXPECT_EQ(chart->objectCount, 8);
  EXPECT_FLOAT_EQ(chart->measureLength[1], 0.75f);
  EXPECT_FLOAT_EQ(chart->measureLength[3], 1.5f);
}

TEST_F(ChartLines, HeaderCommandsByPrefixAndColumn) {
  ReadAll({U"TITLE   Spaced Title  ", U"artist someone", U"GENRE Trance", U"BPM 150.5", U"PLAYER 3", U"PLAYLEVEL 7",
           U"PLAY 5", U"RANK 2", U"TOTAL 300.5", U"VOLWAV 80", U"MIDIFILE song.mid"});
  EXPECT_EQ(testing::HeaderText(*chart), "Spaced Title|someone|Trance|150.5|3|7|2|300|80|song.mid");

  // Failed conversions keep the field. "RANDOM 2" is taken as #RANK: "M 2" is no number.
  ReadAll({U"RANK 1", U"RANDOM 2", U"BPM01 180", U"BPM 150", U"BPM abc", U"PLAYLEVEL 2.5"});
  EXPECT_EQ(testing::HeaderText(*chart), "Spaced Title|someone|Trance|150|3|2|1|300|80|song.mid");
}

// Records every call the reader makes, and answers with fixed sizes.
class RecordingMedia : public MediaLoader {
 public:
  void PrepareSurfaces() override { calls.push_back("prepare"); }
  int64_t FreeVideoMemory() override { return 123456; }
  SoundLoadResult LoadSound(int slot, const std::string& path) override {
    calls.push_back("wav " + std::to_string(slot) + " " + NameOf(path));
    if (path.find("missing") != std::string::npos) return {};
    return {true, 22050, 4410.0f};
  }
  void SetSoundFrequency(int slot, int32_t frequency) override {
    calls.push_back("freq " + std::to_string(slot) + " " + std::to_string(frequency));
  }
  PictureLoadResult LoadPicture(int slot, const std::string& path, bool measure) override {
    calls.push_back("bmp " + std::to_string(slot) + " " + NameOf(path) + (measure ? " measured" : ""));
    if (path.find("missing") != std::string::npos) return {};
    return {true, measure ? 320 : 0, measure ? 240 : 0};
  }
  static std::string NameOf(const std::string& path) { return path.substr(path.find_last_of('/') + 1); }
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
                       "#BMP05 missing.png", "#WAV06 missing.wav", "#wav0b b.wav", "#WAVff last.ogg", "#BMP0A  bg.png ",
                       "#MIDIFILE x.mid", "#00011:02"}),
            kLoadOk);
  EXPECT_EQ(recording.calls,
            (std::vector<std::string>{"prepare", "bmp 1 first.bmp", "wav 2 kick.wav", "freq 2 33075",
                                      "bmp 3 photo.png measured", "bmp 4 later.BMP", "bmp 5 missing.png measured",
                                      "wav 6 missing.wav", "wav 11 b.wav", "freq 11 33075", "wav 255 last.ogg",
                                      "freq 255 33075", "bmp 10 bg.png measured"}));
  EXPECT_TRUE(Logged("  VRAM free: 123456bytes"));
  EXPECT_TRUE(Logged("  sorry, MIDIfile is not support."));
  // Slots are hexadecimal in either case; names are trimmed.
  EXPECT_EQ((std::vector{chart->wavName[11], chart->wavName[255], chart->bmpName[10]}),
            (std::vector<std::string>{"b.wav", "last.ogg", "bg.png"}));
  EXPECT_EQ(chart->soundBaseFrequency[2], 22050);
  EXPECT_FLOAT_EQ(chart->soundSize[2], 4410.0f);
  // A BMP file takes the size last measured for another picture type.
  const auto& rect = chart->pictureRect;
  EXPECT_EQ((std::vector{rect[1].width, rect[3].width, rect[4].width, rect[4].height, rect[5].width}),
            (std::vector{0, 320, 320, 240, 320}));

  // Switches turn loading off; the names are still read.
  options.noWav = true;
  options.noBga = true;
  recording.calls.clear();
  ASSERT_EQ(LoadLines({"#WAV01 a.wav", "#BMP01 a.png", "#00011:01"}), kLoadOk);
  EXPECT_EQ(recording.calls, (std::vector<std::string>{"prepare"}));
  EXPECT_EQ(chart->wavName[1], "a.wav");
}

}  // namespace
}  // namespace vremo
