// A full disk under every file the player writes, in this process: each
// write fails whole, says why in the log (or the list's message), and the
// user's previous file stays byte for byte.
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>

#include "chart/file_bytes.h"
#include "play/score_log.h"
#include "shell/key_map_file.h"
#include "shell/play_list.h"
#include "shell/play_list_file.h"
#include "shell/record_file.h"
#include "shell/settings_file.h"
#include "tests/chart/chart_fixture.h"
#include "tests/support/file_size_limit.h"

namespace vremo {
namespace {

using testing::FileSizeLimit;
using testing::TempFolder;

constexpr rlim_t kDiskRoom = 2048;  // bytes a file may reach

class MessageHost : public PlayListHost {
 public:
  void PlayChart(const std::string&) override {}
  void ShowMessage(const std::string& text, const std::string&) override { messages.push_back(text); }
  void ListChanged() override {}
  std::vector<std::string> messages;
};

TEST(FaultInjection, AFullDiskFailsEachWriteWholeAndSaysWhy) {
  TempFolder folder;
  MemoryLogSink sink;
  DebugLog log(&sink);
  // Each file is already near or past the room left.
  const std::string ini = "[Mine]\r\nNotes=" + std::string(kDiskRoom, 'n') + "\r\n[Setting]\r\nSleep=3\r\n";
  const std::string keys = EncodeKeyMap(DefaultKeyMap()) + std::string(kDiskRoom, '\x7F');
  const std::string scores = std::string(kDiskRoom - 40, 's');
  const std::string record = std::string(kDiskRoom - 8, 'r');
  ChartListInfo entry;
  entry.title = "a song";
  entry.path = "/charts/" + std::string(200, 'p') + ".bms";
  const std::string list = EncodeListFile(std::vector<ChartListInfo>(12, entry));
  for (const auto& [name, bytes] : std::vector<std::pair<std::string, std::string>>{{"vremo.ini", ini},
                                                                                    {"vrkeycnf.dat", keys},
                                                                                    {"vremoscore.txt", scores},
                                                                                    {"take.vpd", record},
                                                                                    {"default.vrl", list}}) {
    folder.Write(name, bytes);
  }
  auto chart = std::make_unique<Chart>();
  ScoreBoard board;
  board.ResetPlayers();
  PlayRecord presses;
  presses.StartRecording();
  for (int32_t i = 0; i < 100; ++i) presses.Append({i, 48 * i, 0xFF00, 11, 3, 0});
  MessageHost host;
  PlayList playList(host, log);
  playList.ListLoad(folder.Path("default.vrl"), true);
  ASSERT_EQ(playList.Count(), 11);
  {
    FileSizeLimit full(kDiskRoom);
    Settings settings;
    EXPECT_FALSE(WriteSettings(folder.Path("vremo.ini"), settings, &log));
    EXPECT_EQ(sink.lines.back(), "Err[write failed] :vremo.ini (File too large)");
    EXPECT_FALSE(SaveKeyMap(folder.Path("vrkeycnf.dat"), DefaultKeyMap(), log));
    EXPECT_EQ(sink.lines.end()[-2], "Err[write failed] :vrkeycnf.dat (File too large)");
    EXPECT_EQ(sink.lines.back(), "complete.");
    // The score block fits only in part: what was written is taken back.
    errno = 0;
    EXPECT_FALSE(AppendScoreLog(folder.path().string(), *chart, board, settings));
    EXPECT_EQ(errno, EFBIG);
    EXPECT_FALSE(SaveRecord(folder.Path("take.vpd"), presses, RecordChartOf(*chart), &log));
    EXPECT_FALSE(playList.ListSave(folder.Path("default.vrl")));
    EXPECT_EQ(host.messages, std::vector<std::string>{"an error occured in list saving process!"});
  }
  EXPECT_EQ(folder.Read("vremo.ini"), ini);
  EXPECT_EQ(folder.Read("vrkeycnf.dat"), keys);
  EXPECT_EQ(folder.Read("vremoscore.txt"), scores);
  EXPECT_EQ(folder.Read("take.vpd"), record);
  EXPECT_EQ(folder.Read("default.vrl"), list);
  // No temporary file is left beside them.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 5);
}

}  // namespace
}  // namespace vremo
