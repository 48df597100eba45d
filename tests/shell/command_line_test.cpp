#include "shell/command_line.h"

#include <gtest/gtest.h>

namespace vremo {
namespace {

// Writes every call down in order.
class CallLog : public CommandTarget {
 public:
  void EnablePlayTimer() override { calls.push_back("play"); }
  void RequestStop() override { calls.push_back("stop"); }
  void CheckBga() override { calls.push_back("bga"); }
  void CheckWav() override { calls.push_back("wav"); }
  void SetQuitAfterPlay() override { calls.push_back("quit"); }
  void ListLoad(const std::string& path) override { calls.push_back("load[" + path + "]"); }
  void ListClear() override { calls.push_back("clear"); }
  void ListAdd(const std::string& path) override { calls.push_back("add[" + path + "]"); }
  void ListPlay(int32_t index) override { calls.push_back("listplay " + std::to_string(index)); }
  std::vector<std::string> calls;
};

std::vector<std::string> RunLine(std::string_view line) {
  CallLog log;
  RunCommandLine(line, log);
  return log.calls;
}

using Calls = std::vector<std::string>;

TEST(CommandLine, SplittingQuotesAndBlanks) {
  EXPECT_EQ(RunLine("\"/home/a/my song.bms\" -p"), (Calls{"clear", "add[/home/a/my song.bms]", "play", "listplay 0"}));
  EXPECT_EQ(SplitCommandLine("a\"b c\"d e"), (Calls{"ab cd", "e"}));
  // An unclosed quote keeps its blanks to the end of the line.
  EXPECT_EQ(SplitCommandLine("-s \"x y"), (Calls{"-s", "x y"}));
  // Consecutive blanks give empty tokens.
  EXPECT_EQ(SplitCommandLine("a  b"), (Calls{"a", "", "b"}));
  EXPECT_EQ(RunLine("-p  -s"), (Calls{"play", "clear", "add[]", "stop", "listplay 0"}));
  EXPECT_EQ(RunLine(""), (Calls{"clear", "add[]", "listplay 0"}));
  // Joining quotes only blanks; joined and split again, the arguments come back.
  EXPECT_EQ(JoinArguments({"/m/my song.bms", "-p", "x"}), "\"/m/my song.bms\" -p x");
  EXPECT_EQ(JoinArguments({}), "");
  const Calls args{"/a b/c d.bms", "-S", "plain"};
  EXPECT_EQ(SplitCommandLine(JoinArguments(args)), args);
}

TEST(CommandLine, TwoCharacterPrefixOrListExtensionDecides) {
  EXPECT_EQ(RunLine("-b-"), (Calls{"bga"}));
  EXPECT_EQ(RunLine("-Pfoo /w+ -Q- /s -B+"), (Calls{"play", "wav", "quit", "stop", "bga"}));
  // "-X" is no switch: a file.
  EXPECT_EQ(RunLine("-x"), (Calls{"clear", "add[-x]", "listplay 0"}));
  EXPECT_EQ(RunLine("-"), (Calls{"clear", "add[-]", "listplay 0"}));
  // Absolute paths begin with "/": one that goes on into folders is a chart.
  EXPECT_EQ(RunLine("/work/s.bms /q /Songs/p.bme"),
            (Calls{"clear", "add[/work/s.bms]", "quit", "add[/Songs/p.bme]", "listplay 0"}));
  // List files load without starting.
  EXPECT_EQ(RunLine("songs.vpl"), (Calls{"load[songs.vpl]"}));
  EXPECT_EQ(RunLine("songs.VPL a.bms b.bme"),
            (Calls{"load[songs.VPL]", "clear", "add[a.bms]", "add[b.bme]", "listplay 0"}));
  EXPECT_EQ(RunLine("a.bms songs.Vpl"), (Calls{"clear", "add[a.bms]", "load[songs.Vpl]", "listplay 0"}));
  // The play list's own extension is a chart token here.
  EXPECT_EQ(RunLine("songs.vrl"), (Calls{"clear", "add[songs.vrl]", "listplay 0"}));
}

TEST(CommandLine, RelativeFilesBecomeAbsoluteSwitchesStay) {
  const std::string line = AbsoluteCommandLine("song.bms -p \"my dir/b.bme\" /abs.bms -Q list.vpl  -x /s", "/home/me");
  EXPECT_EQ(line, "/home/me/song.bms -p \"/home/me/my dir/b.bme\" /abs.bms -Q /home/me/list.vpl  /home/me/-x /s");
  EXPECT_EQ(AbsoluteCommandLine("a.bms", "/"), "/a.bms");
  // Nothing relative: the line is handed over as it was.
  EXPECT_EQ(AbsoluteCommandLine("\"/m/a b.bms\"  -Q", "/home/me"), "\"/m/a b.bms\"  -Q");
}

}  // namespace
}  // namespace vremo
