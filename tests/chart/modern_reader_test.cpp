#include "chart/modern_reader.h"

#include <gtest/gtest.h>
#include <set>

#include "chart/chart_dump.h"
#include "chart/control_flow.h"
#include "chart/timeline.h"
#include "chart/timing_map.h"
#include "tests/chart/chart_fixture.h"
#include "tests/support/encoded_text.h"

namespace vremo {
namespace {

using testing::ChartFixture;
using testing::Crlf;
using testing::Encoded;

std::string Joined(const std::vector<std::string>& lines, const std::string& end) {
  std::string text;
  for (const auto& line : lines) text += line + end;
  return text;
}

// Records what the reader hands to the media layer.
class RecordingMedia : public NullMediaLoader {
 public:
  SoundLoadResult LoadSound(int slot, const std::string& path) override {
    calls.push_back("wav " + std::to_string(slot) + " " + FileNameOf(path));
    return {};
  }
  PictureLoadResult LoadPicture(int slot, const std::string& path, bool) override {
    calls.push_back("bmp " + std::to_string(slot) + " " + FileNameOf(path));
    return {};
  }
  std::vector<std::string> calls;
};

class ModernReader : public ChartFixture {
 protected:
  ModernReader() { options.modernReading = true; }

  // Loads the text the modern way and returns its timeline.
  std::vector<std::string> Timeline(const std::string& text) {
    sink.lines.clear();
    LoadContext context{log, *mediaLoader, options, {}};
    std::vector<ModernObject> objects;
    result = LoadModernChart(folder.Write("song.bms", text), *chart, context, &objects);
    return ModernTimeline(objects, chart->timing);
  }
  std::set<int32_t> Channels() const {
    std::set<int32_t> channels;
    for (int32_t k = 0; k < chart->objectCount; ++k) channels.insert(chart->objects[k].channel);
    return channels;
  }
  int32_t result = 0;
};

TEST_F(ModernReader, TempoChangesStopsAndMeasureLengthsGiveExactTimes) {
  const std::vector<std::string> lines = {"#BPM 120",    "#BPM01 90.5", "#STOP01 96", "#00111:01010101",
                                          "#00109:0001", "#00211:01",   "#00208:01",  "#00311:01",
                                          "#00303:B4",   "#00411:01",   "#00402:0.5", "#00511:01"};
  // The stop of 96 units at 120 BPM holds 1000 ms: the note after it and
  // everything later come exactly 1000 ms later than without it.
  EXPECT_EQ(Timeline(Crlf(lines)),
            (std::vector<std::string>{"2000.000\t11\t01", "2500.000\t11\t01", "3000.000\t11\t01", "4500.000\t11\t01",
                                      "5000.000\t11\t01", "7651.934\t03\tB4", "7651.934\t11\t01", "8985.267\t11\t01",
                                      "9651.934\t11\t01"}));
  EXPECT_TRUE(chart->modern);
  EXPECT_FALSE(chart->randomDraws);  // nothing to draw anew on the next play
  EXPECT_EQ(chart->lengthMs, 9652);
  EXPECT_DOUBLE_EQ(chart->timing.TimeAt(3 * 192), 240000.0 / 90.5 + 5000.0);
  // The table keeps the tempos (rounded) and the stop for information.
  std::vector<std::string> info;
  for (int32_t k = 0; k < chart->objectCount; ++k) {
    const ChartObject& o = chart->objects[k];
    if (o.channel == kChannelTempo || o.channel == kChannelStop) {
      info.push_back(std::to_string(o.y) + ":" + std::to_string(o.channel) + ":" + std::to_string(o.value));
    }
  }
  EXPECT_EQ(info, (std::vector<std::string>{"288:9:96", "384:3:90", "576:3:180"}));

  // CR LF, LF and CR, with blanks before "#" and no line end at the end.
  const std::vector<std::string> expected = Timeline(Crlf(lines));
  std::string lf = Joined(lines, "\n");
  lf.pop_back();
  EXPECT_EQ(Timeline("  " + lf), expected);
  EXPECT_EQ(Timeline("\t" + Joined(lines, "\r")), expected);
}

// The map the reading above builds, on its own: positions inside a stop,
// a stop where the tempo changes, refused changes and negative positions.
TEST(TimingMap, StopsHoldThePositionAndTemposChangeTheRate) {
  TimingMap map;
  map.Reset(120.0);  // 1 unit = 1250 / 120 ms
  EXPECT_DOUBLE_EQ(map.TimeAt(192.0), 2000.0);
  // A stop of 96 units at 120 BPM is 1000 ms; everything after moves by it.
  ASSERT_TRUE(map.AddStop(192.0, 96.0));
  EXPECT_DOUBLE_EQ(map.TimeAt(192.0), 2000.0);
  EXPECT_DOUBLE_EQ(map.TimeAt(288.0), 4000.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(2000.0), 192.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(2999.0), 192.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(3000.0), 192.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(4000.0), 288.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(1000.0), 96.0);

  // A fractional tempo at 384, then a stop at the same place at that tempo.
  ASSERT_TRUE(map.AddTempo(384.0, 187.5));
  ASSERT_TRUE(map.AddStop(384.0, 48.0));  // 48 x 1250 / 187.5 = 320 ms
  EXPECT_DOUBLE_EQ(map.TimeAt(384.0), 5000.0);
  EXPECT_DOUBLE_EQ(map.TimeAt(384.0 + 150.0), 5000.0 + 320.0 + 1000.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(6320.0), 534.0);
  EXPECT_DOUBLE_EQ(map.TempoAt(383.0), 120.0);
  EXPECT_DOUBLE_EQ(map.TempoAt(384.0), 187.5);

  // Tempos that are not positive and finite, stops of nothing and changes
  // that go back are refused; the map is as it was.
  EXPECT_FALSE(map.AddTempo(400.0, 0.0));
  EXPECT_FALSE(map.AddTempo(400.0, -120.0));
  EXPECT_FALSE(map.AddTempo(400.0, 1.0 / 0.0));
  EXPECT_FALSE(map.AddStop(400.0, 0.0));
  EXPECT_FALSE(map.AddTempo(100.0, 90.0));
  EXPECT_EQ(map.points().size(), 3u);
  // Before position 0 (a negative seek) the start tempo runs backwards.
  EXPECT_DOUBLE_EQ(map.TimeAt(-96.0), -1000.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(-1000.0), -96.0);
}

TEST_F(ModernReader, RandomAndSwitchBlocksTakeTheDrawnBranches) {
  const std::vector<std::string> lines = {
      "#RANDOM 3",    "#IF 1",      "#00111:01", "#random 2",    "#if 1",     "#00112:01", "#Else",     "#00113:01",
      "#endif",       "#ENDRANDOM", "#ELSEIF 2", "#00114:01",    "#ELSE",     "#00115:01", "#ENDIF",    "#ENDRANDOM",
      "#SETRANDOM 2", "#IF 2",      "#00116:01", "#ENDIF",       "#IF 1",     "#00117:01", "#ENDIF",    "#SWITCH 3",
      "#CASE 1",      "#00118:01",  "#SKIP",     "#CASE 2",      "#00119:01", "#CASE 3",   "#00121:01", "#SKIP",
      "#DEF",         "#00122:01",  "#ENDSW",    "#SETSWITCH 5", "#CASE 1",   "#00123:01", "#SKIP",     "#DEF",
      "#00124:01",    "#ENDSW",     "#00125:01"};
  std::set<std::set<int32_t>> seen;
  for (uint32_t seed = 0; seed < 24; ++seed) {
    options.seed = seed;
    ASSERT_EQ(LoadLines(lines), kLoadOk);
    // The same draws, in the same order: the nested one only when its
    // block is taken.
    ChartRandom random(seed);
    const int32_t outer = random.Draw(3);
    const int32_t inner = outer == 1 ? random.Draw(2) : 0;
    const int32_t swich = random.Draw(3);
    std::set<int32_t> expected = {kChannelBarLine, 16, 24, 25};
    if (outer == 1) expected.insert({11, inner == 1 ? 12 : 13});
    if (outer == 2) expected.insert(14);
    if (outer == 3) expected.insert(15);
    if (swich == 1) expected.insert(18);
    if (swich == 2) expected.insert({19, 21});  // runs on into case 3
    if (swich == 3) expected.insert(21);
    EXPECT_EQ(Channels(), expected) << "seed " << seed;
    EXPECT_TRUE(chart->randomDraws);
    seen.insert(expected);
    EXPECT_TRUE(Logged("  #RANDOM 3 -> " + std::to_string(outer)));
    EXPECT_EQ(Logged("  #RANDOM 2 -> " + std::to_string(inner)), outer == 1);
    EXPECT_TRUE(Logged("  #SWITCH 3 -> " + std::to_string(swich)));
  }
  EXPECT_GE(seen.size(), 5u);  // the seeds reach most branches
}

TEST_F(ModernReader, LongNotesMinesAndBase36Slots) {
  RecordingMedia media;
  mediaLoader = &media;
  const std::vector<std::string> lines = {
      "#BPM 60",         "#LNTYPE 1", "#LNOBJ ZZ", "#WAV0G a.wav", "#BMPzz b.png", "#WAVZZ end.wav",
      "#00151:0G000G00",  // head and tail on lane 11
      "#00112:0A00ZZ00",  // the note before the LNOBJ value becomes a head
      "#00162:0H000000",  // a head with no tail plays as a note
      "#001D1:01",       "#001E9:ZZ", "#00104:zz", "#00101:0G",    "#00131:01",    "#001X1:01"};
  const std::vector<std::string> timeline = Timeline(Crlf(lines));
  ASSERT_EQ(result, kLoadOk);
  EXPECT_EQ(media.calls, (std::vector<std::string>{"wav 16 a.wav", "bmp 1295 b.png", "wav 1295 end.wav"}));
  EXPECT_EQ(timeline,
            (std::vector<std::string>{"4000.000\t01\t0G", "4000.000\t12\t0A", "4000.000\t51\t0G", "4000.000\t62\t0H",
                                      "4000.000\tD1\t01", "4000.000\tE9\tZZ", "6000.000\t12\tZZ", "6000.000\t51\t0G"}));
  std::vector<std::string> lanes;
  for (int32_t k = 0; k < chart->objectCount; ++k) {
    const ChartObject& o = chart->objects[k];
    if (o.channel > kChannelBgaLayer) {
      lanes.push_back(std::to_string(o.y) + ":" + std::to_string(o.channel) + ":" + std::to_string(o.value) + ":" +
                      std::to_string(static_cast<int>(o.kind)));
    }
  }
  std::sort(lanes.begin(), lanes.end());
  EXPECT_EQ(lanes, (std::vector<std::string>{"192:111:1:0", "192:11:16:1", "192:129:1295:0", "192:12:10:1",
                                             "192:22:17:0", "288:11:16:2", "288:12:1295:2"}));
  // Long notes count twice, mines not at all; channels 31-49 are not read.
  EXPECT_EQ(chart->totalNotes[0], 4);
  EXPECT_EQ(chart->totalNotes[1], 1);
  EXPECT_TRUE(Channels().count(kChannelBgaBase));
  // No sound change for a tail (a release) nor for a mine.
  EXPECT_EQ(chart->soundChangeCount, 3);
}

TEST_F(ModernReader, KoreanAndJapaneseTitlesDecodeInTheirOwnScript) {
  const std::string korean = "\xEB\x82\x98\xEC\x9D\x98 \xEB\x85\xB8\xEB\x9E\x98";               // 나의 노래
  const std::string japanese = "\xE3\x81\x82\xE3\x81\x97\xE3\x81\x9F\xE3\x81\xAE\xE6\xAD\x8C";  // あしたの歌
  const std::string katakana = "\xE3\x82\xAB\xE3\x82\xBF\xE3\x83\x81";                          // カタチ
  const std::string kanji = "\xE6\x9D\xB1\xE6\x96\xB9";                                         // 東方
  const std::string syllable = "\xEA\xB0\x80";                                                  // 가
  const std::vector<std::pair<std::string, const char*>> cases = {{korean, "CP949"},   {korean, "EUC-KR"},
                                                                  {syllable, "CP949"}, {japanese, "CP932"},
                                                                  {katakana, "CP932"}, {kanji, "CP932"}};
  for (const auto& [title, encoding] : cases) {
    const std::string bytes = Encoded(Crlf({"#TITLE " + title, "#ARTIST " + title, "#00111:01"}), encoding);
    ASSERT_EQ(Load(bytes), kLoadOk);
    EXPECT_EQ(chart->title, title) << encoding;
    EXPECT_EQ(chart->artist, title) << encoding;
  }
  // UTF-8 with a byte-order mark, and the classic reading left as it was.
  ASSERT_EQ(Load("\xEF\xBB\xBF" + Crlf({"#TITLE " + korean, "#00111:01"})), kLoadOk);
  EXPECT_EQ(chart->title, korean);
  options.modernReading = false;
  ASSERT_EQ(Load(Encoded(Crlf({"#TITLE " + japanese, "#00111:01"}), "CP932")), kLoadOk);
  EXPECT_EQ(chart->title, japanese);
}

TEST_F(ModernReader, PlainChartsLogAndCompileAsTheClassicReadingDoes) {
  const std::vector<std::string> lines = {"#GENRE G",    "#TITLE T",     "#ARTIST A",   "#BPM 150",  "#PLAYLEVEL 3",
                                          "#RANK 2",     "#WAV01 k.wav", "#00111:0101", "#00203:B4", "#00313:01",
                                          "#00321:0001", "#00402:0.75",  "#00416:01",   "#00501:01"};
  ASSERT_EQ(LoadLines(lines), kLoadOk);
  const std::vector<std::string> modernLog = sink.lines;
  const std::string modernDump = DumpChartJson(*chart);
  EXPECT_TRUE(chart->modern);
  options.modernReading = false;
  ASSERT_EQ(LoadLines(lines), kLoadOk);
  EXPECT_EQ(sink.lines, modernLog);
  EXPECT_EQ(DumpChartJson(*chart), modernDump);
  EXPECT_FALSE(chart->modern);

  // The classic timeline: the compiler's length rule on the rounded table.
  EXPECT_EQ(ClassicTimeline(*chart),
            (std::vector<std::string>{"1600.000\t11\t01", "2400.000\t11\t01", "3200.000\t03\tB4", "4533.333\t13\t01",
                                      "5200.000\t21\t01", "5866.667\t16\t01", "6866.667\t01\t01"}));

  options.modernReading = true;
  EXPECT_EQ(Load("#TITLE only\n#RANDOM 2\n"), kLoadNoObject);
  EXPECT_TRUE(Logged("  Err: object not exists."));
  EXPECT_EQ(LoadPath(folder.path().string() + "/none.bms"), kLoadMissing);
}

}  // namespace
}  // namespace vremo
