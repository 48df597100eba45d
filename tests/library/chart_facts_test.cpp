#include "library/chart_facts.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "chart/bms_reader.h"
#include "chart/modern_reader.h"
#include "tests/library/library_fixture.h"
#include "tests/support/encoded_text.h"

namespace vremo {
namespace {

using testing::CrlfLines;
using testing::SongText;
using testing::TempFolder;

std::string Cp932(const std::string& utf8) { return testing::Encoded(utf8, "CP932"); }

// What the player's own load gives, from a fresh chart.
struct Loaded {
  int32_t notes, lengthMs, bmsId;
};
Loaded LoadedFacts(const std::string& path, bool modern) {
  auto chart = std::make_unique<Chart>();
  DebugLog log;
  NullMediaLoader media;
  LoadContext context{log, media, LoadOptions{}, {}};
  context.options.seed = 1;
  const int32_t result = modern ? LoadModernChart(path, *chart, context) : LoadChart(path, *chart, context);
  EXPECT_EQ(result, kLoadOk) << path;
  return {chart->totalNotes[0] + chart->totalNotes[1], chart->lengthMs, chart->bmsId};
}

TEST(ContentHash, IsFnv1a64) {
  EXPECT_EQ(ContentHash(""), "cbf29ce484222325");
  EXPECT_EQ(ContentHash("a"), "af63dc4c8601ec8c");
}

TEST(ChartFacts, ClassicChartGivesWhatThePlayerComputes) {
  TempFolder folder;
  // A tempo change to 180 (B4), a 7-key lane (18), a subtitle; text in CP932.
  const std::string path = folder.Write(
      "song/seven.bme", Cp932(CrlfLines({"#GENRE ジャンル", "#TITLE 曲名", "#SUBTITLE [アナザー]", "#ARTIST 作者",
                                         "#BPM 120", "#PLAYLEVEL 9", "#RANK 3", "#TOTAL 300", "#00111:01010101",
                                         "#00118:0001", "#00203:B4", "#00316:01"})));
  std::string error;
  const auto e = ReadChartFacts(path, &error);
  ASSERT_TRUE(e) << error;
  const Loaded loaded = LoadedFacts(path, false);
  struct stat info {};
  ASSERT_EQ(::stat(path.c_str(), &info), 0);
  EXPECT_EQ(e->path, path);
  EXPECT_EQ(e->folder, folder.Path("song"));
  EXPECT_EQ(e->fileSize, info.st_size);
  EXPECT_EQ(e->modifiedNs, info.st_mtim.tv_sec * 1000000000LL + info.st_mtim.tv_nsec);
  EXPECT_EQ(e->contentHash, ContentHash(folder.Read("song/seven.bme")));
  EXPECT_EQ(e->title + "|" + e->subtitle + "|" + e->artist + "|" + e->genre, "曲名|[アナザー]|作者|ジャンル");
  EXPECT_EQ(e->encoding, "CP932");
  EXPECT_FALSE(e->needsModern);
  EXPECT_EQ(e->bpm, 120);
  EXPECT_EQ(e->bpmMin, 120);
  EXPECT_EQ(e->bpmMax, 180);
  EXPECT_EQ(e->playLevel, 9);
  EXPECT_EQ(e->rank, 3);
  EXPECT_EQ(e->total, 300);
  EXPECT_EQ(e->keyCount, 7);
  EXPECT_EQ(e->noteCount, 6);
  EXPECT_EQ(e->noteCount, loaded.notes);
  EXPECT_EQ(e->lengthMs, loaded.lengthMs);
  EXPECT_EQ(e->bmsId, loaded.bmsId);
  EXPECT_GT(e->lengthMs, 0);
}

TEST(ChartFacts, ModernChartsAreToldAndReadTheModernWay) {
  TempFolder folder;
  const std::string head = "#TITLE T\r\n#BPM 120\r\n#00111:01\r\n";
  // Each of these only the modern reading reads as written.
  const std::vector<std::pair<std::string, std::string>> modern = {
      {"lf", "#TITLE T\n#BPM 120\n#00111:0101\n"},
      {"random", head + "#RANDOM 2\r\n#IF 1\r\n#00112:01\r\n#ENDIF\r\n#ENDRANDOM\r\n"},
      {"lnobj", head + "#LNOBJ ZZ\r\n#00211:01ZZ\r\n"},
      {"ln51", head + "#LNTYPE 1\r\n#00251:0101\r\n"},
      {"exbpm", head + "#BPM01 155.5\r\n#00208:01\r\n"},
      {"stop", head + "#STOP01 96\r\n#00209:01\r\n"},
      {"base36", head + "#WAVZZ a.wav\r\n#00212:ZZ\r\n"},
      {"fraction", "#TITLE T\r\n#BPM 150.5\r\n#00111:01\r\n"},
      {"indent", head + "  #00112:01\r\n"},
  };
  for (const auto& [name, text] : modern) {
    const auto e = ReadChartFacts(folder.Write(name + ".bms", text), nullptr);
    ASSERT_TRUE(e) << name;
    EXPECT_TRUE(e->needsModern) << name;
  }
  const auto classic = ReadChartFacts(folder.Write("classic.bms", head + "#RANK 2\r\n#00203:B4\r\n"), nullptr);
  ASSERT_TRUE(classic);
  EXPECT_FALSE(classic->needsModern);

  // Long notes and a stop: counts and length as the modern load gives them.
  const std::string path =
      folder.Write("long.bms", head +
                                   "#PLAYLEVEL 5\r\n#LNTYPE 1\r\n#STOP01 192\r\n#BPM02 60\r\n#00251:01000001\r\n"
                                   "#00209:01\r\n#00308:02\r\n#00415:01\r\n");
  const auto e = ReadChartFacts(path, nullptr);
  ASSERT_TRUE(e);
  const Loaded loaded = LoadedFacts(path, true);
  EXPECT_TRUE(e->needsModern);
  EXPECT_EQ(e->noteCount, loaded.notes);
  EXPECT_EQ(e->lengthMs, loaded.lengthMs);
  EXPECT_EQ(e->bmsId, loaded.bmsId);
  EXPECT_EQ(e->bpmMin, 60);
  EXPECT_EQ(e->bpmMax, 120);
}

TEST(ChartFacts, KeyCountsFromTheLanesUsed) {
  TempFolder folder;
  auto keys = [&folder](const std::string& name, const std::vector<std::string>& lines) {
    const auto e = ReadChartFacts(folder.Write(name, CrlfLines(lines)), nullptr);
    return e ? e->keyCount : -1;
  };
  EXPECT_EQ(keys("five.bms", {"#BPM 120", "#00111:01", "#00116:01", "#00115:01"}), 5);
  EXPECT_EQ(keys("seven.bms", {"#BPM 120", "#00111:01", "#00119:01"}), 7);
  EXPECT_EQ(keys("ten.bms", {"#BPM 120", "#PLAYER 3", "#00111:01", "#00116:01"}), 10);
  EXPECT_EQ(keys("fourteen.bms", {"#BPM 120", "#PLAYER 3", "#00111:01", "#00221:01", "#00228:01"}), 14);
  EXPECT_EQ(keys("popn.bms", {"#BPM 120", "#PLAYER 1", "#00111:01", "#00115:01", "#00122:01", "#00225:01"}), 9);
}

TEST(ChartFacts, EachReadStartsFreshAndFailuresSayWhy) {
  TempFolder folder;
  const std::string first = folder.Write("a.bms", SongText("A", "X", 7, 4, {"#TOTAL 999", "#RANK 1"}));
  const std::string bare = folder.Write("b.bms", CrlfLines({"#BPM 130", "#00111:0101"}));
  ChartFactsReader reader;
  ASSERT_TRUE(reader.Read(first, nullptr));
  const auto reused = reader.Read(bare, nullptr);
  const auto fresh = ReadChartFacts(bare, nullptr);
  ASSERT_TRUE(reused && fresh);
  // Nothing of the chart read before carries over (title, level, total).
  EXPECT_EQ(reused->title, "");
  EXPECT_EQ(reused->genre, "");
  EXPECT_EQ(reused->total, fresh->total);
  EXPECT_EQ(reused->bmsId, fresh->bmsId);
  EXPECT_EQ(reused->lengthMs, fresh->lengthMs);

  std::string error;
  EXPECT_FALSE(reader.Read(folder.Path("gone.bms"), &error));
  EXPECT_EQ(error, kFactsMissing);
  ::mkdir(folder.Path("dir.bms").c_str(), 0755);
  EXPECT_FALSE(reader.Read(folder.Path("dir.bms"), &error));
  EXPECT_EQ(error, kFactsNotAFile);
  ASSERT_EQ(::mkfifo(folder.Path("fifo.bms").c_str(), 0644), 0);
  EXPECT_FALSE(reader.Read(folder.Path("fifo.bms"), &error));
  EXPECT_EQ(error, kFactsNotAFile);
}

}  // namespace
}  // namespace vremo
