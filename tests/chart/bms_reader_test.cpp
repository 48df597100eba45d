// Loading chart files: the list's header reader; files that are no chart end with their result and line, never
// a crash; past a fixed table nothing is written, the load goes on and one line says what was dropped.
#include "chart/bms_reader.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <random>

#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using testing::ChartFixture;
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

class BadChartInput : public ChartFixture {};

TEST_F(BadChartInput, FiftyMegabytesOfGarbage) {
  // Random bytes, with line starts and digits sown in so that the reader
  // meets channel lines with wild measures, channels and data.
  std::mt19937 random(20261121);
  std::string bytes(50u << 20, '\0');
  for (char& c : bytes) c = static_cast<char>(1 + random() % 255);
  for (size_t pos = 0; pos + 16 < bytes.size(); pos += 64 + random() % 512) {
    bytes.replace(pos, 3, "\r\n#");
    for (size_t k = 3; k < 8; ++k) bytes[pos + k] = static_cast<char>('0' + random() % 10);
  }
  const int32_t result = Load(bytes, "garbage.bms");
  EXPECT_TRUE(result == kLoadOk || result == kLoadNoObject);
  EXPECT_LE(chart->objectCount, kMaxObjects);
  EXPECT_LE(chart->maxMeasure, kMaxMeasure);
  const bool reported = std::any_of(sink.lines.begin(), sink.lines.end(), [](const std::string& line) {
    return line.rfind("  Err: object table full (10001 entries): ", 0) == 0;
  });
  EXPECT_EQ(reported, chart->objectCount == kMaxObjects);
  EXPECT_TRUE(Logged("BMSLoad complete.") || Logged("  Err: object not exists."));
}

TEST_F(BadChartInput, MissingEmptyBinaryAndUnreadableFilesLoadNothing) {
  ASSERT_EQ(LoadLines({"#TITLE Kept", "#00011:01"}), kLoadOk);
  EXPECT_EQ(LoadPath((folder.path() / "nothere.bms").string()), kLoadMissing);
  EXPECT_EQ(sink.lines, (std::vector<std::string>{"Err[not exist] :nothere.bms"}));
  EXPECT_EQ(chart->title, "Kept");
  EXPECT_EQ(chart->objectCount, 2);
  EXPECT_EQ(LoadPath(folder.path().string()), kLoadMissing);

  // Empty and binary files hold no object.
  EXPECT_EQ(Load(""), kLoadNoObject);
  EXPECT_EQ(sink.lines.back(), "  Err: object not exists.");
  static const char kPngStart[] = "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x10#00011:01\r\n";
  EXPECT_EQ(Load(std::string(kPngStart, sizeof kPngStart - 1), "picture.bms"), kLoadNoObject);
  EXPECT_EQ(sink.lines.back(), "  Err: object not exists.");

  // A FIFO nobody writes to, an endless device, a read error part way and a
  // 2 GB sparse file: each is refused at once, with its line.
  const std::string fifo = folder.Path("fifo.bms");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string huge = folder.Write("huge.bms", "");
  ASSERT_EQ(::truncate(huge.c_str(), off_t{2} << 30), 0);
  const std::vector<std::pair<std::string, std::string>> cases = {
      {fifo, "Err[not a file] :fifo.bms"},
      {"/dev/zero", "Err[not a file] :zero"},
      {"/proc/self/mem", "Err[read failed] :mem"},
      {huge, "Err[too large] :huge.bms (over 64 MiB, not read)"},
  };
  for (const auto& [path, line] : cases) {
    EXPECT_EQ(LoadPath(path), kLoadNoObject) << path;
    EXPECT_TRUE(Logged(line)) << path;
    EXPECT_EQ(sink.lines.back(), "  Err: object not exists.") << path;
  }
  // A /proc file says size 0 and is read to its end all the same.
  EXPECT_NE(ReadFileBytes("/proc/self/status").find("Name:"), std::string::npos);
}

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

TEST_F(ChartCapacity, MeasuresAbove1024AndSoundChangesPastTheListAreDropped) {
  // Three characters reach past 1024 only with an exponent.
  ASSERT_EQ(LoadLines({"#BPM 120", "#1e311:01", "#2e311:01", "#5e302:0.5", "#9d911:01"}), kLoadOk);
  EXPECT_EQ(chart->maxMeasure, 1000);
  EXPECT_EQ(chart->objectCount, 1002);  // bar lines 0-1000 and one note
  EXPECT_TRUE(Logged("  Err: measure over 1024: 2 lines dropped."));
  EXPECT_EQ(chart->objects[chart->objectCount - 1].measure, 1000);

  // Sound changes past the list: alternating values on one lane make every note a change.
  std::vector<std::string> lines = {"#BPM 120"};
  int notes = 0;
  for (int m = 0; notes < kMaxSoundChanges + 2; ++m) {
    char head[32];
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
