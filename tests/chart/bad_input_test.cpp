// Files that are no chart at all: each ends with the loader's own result
// and log line, never a crash.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <random>

#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using testing::ChartFixture;

class BadChartInput : public ChartFixture {};

TEST_F(BadChartInput, MissingEmptyAndBinaryFilesLoadNothing) {
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
}

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

TEST_F(BadChartInput, FilesThatCannotBeReadWholeEndWithTheirLine) {
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

}  // namespace
}  // namespace vremo
