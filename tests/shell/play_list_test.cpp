#include "shell/play_list.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "shell/binary_io.h"
#include "shell/play_list_file.h"
#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using testing::Crlf;
using testing::TempFolder;

class Host : public PlayListHost {
 public:
  void PlayChart(const std::string& path) override { played.push_back(path); }
  void ShowMessage(const std::string& text, const std::string& title) override {
    messages.push_back(title + ": " + text);
  }
  void ListChanged() override { ++changes; }
  std::vector<std::string> played;
  std::vector<std::string> messages;
  int changes = 0;
};

class PlayListTest : public ::testing::Test {
 protected:
  std::string Chart(const std::string& name, const std::string& title) {
    return folder.Write(name, Crlf({"#TITLE " + title, "#ARTIST Someone", "#BPM 150", "#PLAYLEVEL 3"}));
  }
  void AddThree() {
    for (const char* name : {"a", "b", "c"}) list.ListAdd(Chart(std::string(name) + ".bms", name));
  }
  TempFolder folder;
  Host host;
  MemoryLogSink sink;
  DebugLog log{&sink};
  PlayList list{host, log};
};

TEST_F(PlayListTest, RowTextsAndAddingFillFromTheChart) {
  EXPECT_EQ(ListLengthText(59999), "0:59");
  EXPECT_EQ(ListLengthText(0), "0:00");
  EXPECT_EQ(ListLengthText(3600000), "60:00");
  ChartListInfo entry;
  entry.artist = "ア";
  entry.title = "Song";
  entry.lengthMs = 125000;
  EXPECT_EQ(ListRowText(entry), "ア - Song\t2:05");

  list.UpCap();
  EXPECT_EQ(list.caption(), "PlayList [0songs/00:00:00] - New List");
  AddThree();
  list.ListAdd((folder.path() / "gone.bms").string());
  EXPECT_EQ(list.Count(), 3);
  EXPECT_EQ(list.entries()[1].title, "b");
  EXPECT_EQ(list.entries()[1].playLevel, 3);
  EXPECT_EQ(list.entries()[1].path, (folder.path() / "b.bms").string());
  EXPECT_EQ(list.rows()[0], "Someone - a\t0:00");
  EXPECT_EQ(list.rows()[3], " - \t0:00");  // a missing chart: an empty entry
  EXPECT_EQ(sink.lines.back(), "Err[not exist] :gone.bms");
  EXPECT_EQ(list.caption(), "PlayList [4songs/00:00:00] - New List");
}

TEST_F(PlayListTest, ListFileBytesRoundTripAndBrokenFiles) {
  const std::string empty = (folder.path() / "empty.vrl").string();
  list.ListSave(empty);
  const std::string bytes = ReadFileBytes(empty);
  EXPECT_EQ(bytes, std::string("Vremo Play List\0\0\0\0\0\xFF\xFF\xFF\xFF", 24));
  EXPECT_EQ(list.caption(), "PlayList [0songs/00:00:00] - " + empty);

  AddThree();
  const std::string three = (folder.path() / "three.vrl").string();
  list.ListSave(three);
  const std::string saved = ReadFileBytes(three);
  EXPECT_EQ(Int32At(saved, 20), 2);
  // First entry: title "a" as length 1 + byte, then artist.
  EXPECT_EQ(saved.substr(24, 3), std::string("\x01\x00", 2) + "a");
  EXPECT_EQ(saved.substr(27, 9), std::string("\x07\x00Someone", 9));

  PlayList other(host, log);
  other.ListLoad(three, false);
  EXPECT_TRUE(host.messages.empty());
  ASSERT_EQ(other.Count(), 2);
  EXPECT_EQ(other.rows(), list.rows());
  EXPECT_EQ(other.entries()[2].path, list.entries()[2].path);
  EXPECT_EQ(other.entries()[2].bpm, 150.0f);
  EXPECT_EQ(EncodeListFile(other.entries()), saved);

  // Cut inside the third entry: two entries survive, the message shows.
  const std::string cut = folder.Write("cut.vrl", saved.substr(0, saved.size() - 5));
  PlayList loaded(host, log);
  loaded.ListLoad(cut, false);
  EXPECT_EQ(host.messages, (std::vector<std::string>{"error: an error occured in list loading process!"}));
  EXPECT_EQ(loaded.Count(), 1);
  EXPECT_EQ(loaded.rows()[1], "Someone - b\t0:00");
  // Saving over it keeps the unreadable original aside.
  loaded.ListSave(cut);
  EXPECT_EQ(ReadFileBytes(cut + ".bak"), saved.substr(0, saved.size() - 5));
  EXPECT_EQ(Int32At(ReadFileBytes(cut), 20), 1);

  // A Count of two billion over garbage and NUL bytes costs nothing.
  std::string garbage(20, '\0');
  PutInt32(garbage, INT32_MAX);
  garbage += std::string("\xFF\xFF\0\0\x80", 5);
  host.messages.clear();
  loaded.ListLoad(folder.Write("garbage.vrl", garbage), true);
  EXPECT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(loaded.Count(), -1);

  host.messages.clear();
  const std::string missing = (folder.path() / "none.vrl").string();
  loaded.ListLoad(missing, true);
  EXPECT_TRUE(host.messages.empty());
  loaded.ListLoad(missing, false);
  EXPECT_EQ(host.messages, (std::vector<std::string>{"error: listfile " + missing + "is not exist."}));
  EXPECT_EQ(loaded.listFile(), missing);
}

TEST_F(PlayListTest, PlayingOrderRepeatsAndEditing) {
  AddThree();
  const auto& e = list.entries();
  list.ListPlay(1);
  list.ListNext();
  list.ListNext();  // last entry, no repeat: stops
  EXPECT_EQ(host.played, (std::vector<std::string>{e[1].path, e[2].path}));
  list.SetRepeatAll(true);
  list.ListNext();
  EXPECT_EQ(host.played.back(), e[0].path);
  list.SetRepeatOne(true);
  list.ListNext();
  list.ListNext();
  EXPECT_EQ(host.played.size(), 5u);
  EXPECT_EQ(host.played[3], e[0].path);
  EXPECT_EQ(host.played[4], e[0].path);
  list.ListPrev();  // first entry: nothing
  EXPECT_EQ(host.played.size(), 5u);
  list.ListPlay(2);
  list.ListPrev();
  EXPECT_EQ(host.played.back(), e[1].path);
  EXPECT_EQ(list.currentIndex(), 1);
  list.ListPlay(7);
  EXPECT_EQ(sink.lines.back(), "error: Subscript out of range");
  EXPECT_EQ(list.currentIndex(), 1);

  list.ListMove(0, 2);
  EXPECT_EQ(list.entries()[0].title, "b");
  EXPECT_EQ(list.entries()[2].title, "a");
  EXPECT_EQ(list.rows()[2], "Someone - a\t0:00");
  list.ListSwap(0, 1);
  EXPECT_EQ(list.entries()[0].title, "c");
  list.ListPlay(2);
  list.ListRemove(0);
  EXPECT_EQ(list.Count(), 1);
  EXPECT_EQ(list.currentIndex(), 1);
  EXPECT_EQ(list.caption(), "PlayList [2songs/00:00:00] - New List");
  // The playing chart changed on disk: its row follows.
  folder.Write("a.bms", Crlf({"#TITLE renamed", "#ARTIST Other"}));
  list.ListUpdateNow();
  EXPECT_EQ(list.rows()[1], "Other - renamed\t0:00");
  list.ListClear();
  EXPECT_EQ(list.Count(), -1);
  EXPECT_EQ(list.currentIndex(), 0);
  EXPECT_TRUE(list.rows().empty());
}

TEST_F(PlayListTest, FolderSearchFindsChartsInSubfolders) {
  folder.Write("x/b.BME", "#TITLE b\r\n");
  folder.Write("x/a.bms", "#TITLE a\r\n");
  folder.Write("x/notes.txt", "");
  folder.Write("x/sub/c.bms", "#TITLE c\r\n");
  const auto root = (folder.path() / "x").string();
  EXPECT_EQ(FindChartFiles(root), (std::vector<std::string>{root + "/a.bms", root + "/b.BME", root + "/sub/c.bms"}));
  list.ListAddFolder(root);
  EXPECT_EQ(sink.lines.front(), "searching files...");
  EXPECT_EQ(list.Count(), 2);
  EXPECT_EQ(list.entries()[2].title, "c");
  EXPECT_TRUE(FindChartFiles((folder.path() / "nowhere").string()).empty());
}

TEST_F(PlayListTest, DefaultListAtStartAndExitOrKeptAsBackup) {
  const std::string home = folder.path().string();
  list.LoadDefault(home);  // no default.vrl yet: silent
  EXPECT_TRUE(host.messages.empty());
  AddThree();
  list.SaveDefault(home);
  PlayList first(host, log);
  sink.lines.clear();
  first.LoadDefault(home);
  EXPECT_EQ(first.Count(), 2);
  EXPECT_EQ(sink.lines, (std::vector<std::string>{"loading default.vrl...", "load complete."}));

  const std::string path = folder.Path("default.vrl");
  const std::string whole = ReadFileBytes(path);
  // Count says one entry, or fewer than none, where three follow.
  for (const int32_t count : {0, -5}) {
    std::string wrong = whole;
    wrong.replace(20, 4, std::string(reinterpret_cast<const char*>(&count), 4));
    folder.Write("default.vrl", wrong);
    PlayList next(host, log);
    host.messages.clear();
    next.LoadDefault(home);
    EXPECT_EQ(host.messages, (std::vector<std::string>{"error: an error occured in list loading process!"}));
    next.SaveDefault(home);
    EXPECT_EQ(ReadFileBytes(path + ".bak"), wrong) << count;
  }

  // A FIFO is neither waited on nor replaced.
  std::filesystem::remove(path);
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  PlayList fifo(host, log);
  host.messages.clear();
  fifo.LoadDefault(home);
  fifo.SaveDefault(home);
  EXPECT_EQ(host.messages, (std::vector<std::string>{"error: an error occured in list loading process!",
                                                     "error: an error occured in list saving process!"}));
  EXPECT_EQ(std::filesystem::status(path).type(), std::filesystem::file_type::fifo);
  EXPECT_TRUE(std::find(sink.lines.begin(), sink.lines.end(), "Err[not a file] :default.vrl") != sink.lines.end());

  // Nor is a 2 GB file read, copied or replaced.
  std::filesystem::remove(path);
  folder.Write("default.vrl", whole);
  std::filesystem::resize_file(path, uintmax_t{2} << 30);
  PlayList huge(host, log);
  host.messages.clear();
  huge.LoadDefault(home);
  huge.SaveDefault(home);
  EXPECT_EQ(host.messages.size(), 2u);
  EXPECT_EQ(std::filesystem::file_size(path), uintmax_t{2} << 30);
  EXPECT_EQ(ReadFileBytes(path + ".bak"), whole.substr(0, 20) + std::string("\xFB\xFF\xFF\xFF", 4) + whole.substr(24));
  EXPECT_EQ(std::vector<std::string>(sink.lines.end() - 3, sink.lines.end()),
            (std::vector<std::string>{"Err[too large] :default.vrl (over 64 MiB, not read)", "load complete.",
                                      "saving default.vrl..."}));
}

}  // namespace
}  // namespace vremo
