#include "chart/debug_log.h"

#include <gtest/gtest.h>

#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

TEST(DebugLog, LinesCaptionStatusTextAndMissingFiles) {
  MemoryLogSink sink;
  DebugLog log(&sink);
  log.PutLog("first");
  log.PutLog("");
  EXPECT_EQ(sink.lines, (std::vector<std::string>{"first", "Ready."}));
  log.SetStatusText("\r\n\r\n");
  log.PutLog("next");
  EXPECT_EQ(sink.lines, (std::vector<std::string>{"", "", "next"}));
  log.SetCaption("loading...");
  EXPECT_EQ(sink.caption, "Vremo v0.26 release - loading...");
  EXPECT_EQ(log.caption(), sink.caption);

  std::string out;  // a stream sink prints every line
  StreamLogSink stream([&out](std::string_view text) { out += text; });
  DebugLog printed(&stream);
  printed.SetStatusText("\r\n\r\n");
  printed.PutLog("BMS load --------");
  EXPECT_EQ(out, "\n\nBMS load --------\n");

  // CheckExist names the missing file.
  testing::TempFolder folder;
  sink.lines.clear();
  EXPECT_TRUE(log.CheckExist(folder.Write("here.bms", "x")));
  EXPECT_FALSE(log.CheckExist("C:\\songs\\a.bms"));
  EXPECT_FALSE(log.CheckExist("plain.bms"));
  EXPECT_FALSE(log.CheckExist(folder.path().string() + "/sub/b.bms"));
  EXPECT_EQ(sink.lines,
            (std::vector<std::string>{"Err[not exist] :a.bms", "Err[not exist] :plain.bms", "Err[not exist] :b.bms"}));
}

}  // namespace
}  // namespace vremo
