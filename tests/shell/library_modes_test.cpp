// The chart library's command-line modes, run as the real vremo executable on
// real chart folders and a real library file.
#include "shell/library_modes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "library/library_db.h"
#include "library/library_scan.h"
#include "shell/tool_modes.h"
#include "tests/chart/chart_fixture.h"

extern char** environ;

namespace vremo {
namespace {

using testing::Crlf;
using testing::TempFolder;

constexpr int kWaitStepMs = 10;
constexpr int kProgressWaitMs = 60000;

struct Ran {
  int status = -1;
  std::string out;
  std::string err;
};

class LibraryModes : public ::testing::Test {
 protected:
  void SetUp() override {
    // The score log is looked for in the program folder: an empty one.
    std::filesystem::create_directories(folder.Path("home"));
    ::setenv("VREMO_HOME", folder.Path("home").c_str(), 1);
    // For the user play that writes the score log.
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("SDL_AUDIODRIVER", "dummy", 1);
    ::setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
  }

  // Starts `program` with the arguments, its standard output and error going to files.
  pid_t Start(const std::string& program, const std::vector<std::string>& args) {
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, folder.Path("out").c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, folder.Path("err").c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    pid_t pid = -1;
    EXPECT_EQ(posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    return pid;
  }
  Ran Finish(pid_t pid) {
    int status = 0;
    ::waitpid(pid, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), folder.Read("out"), folder.Read("err")};
  }
  // vremo with --library `library` and the arguments.
  Ran Vremo(std::vector<std::string> args, const std::string& library = "lib.db") {
    args.insert(args.begin(), {"--library", folder.Path(library)});
    return Finish(Start(VREMO_EXECUTABLE, args));
  }
  // Waits until the running scan has written its first batch of song folders.
  bool WaitForProgress() {
    const std::string mark = ": " + std::to_string(kProgressEveryFolders) + " of ";
    for (int waited = 0; waited < kProgressWaitMs; waited += kWaitStepMs) {
      if (folder.Read("err").find(mark) != std::string::npos) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(kWaitStepMs));
    }
    return false;
  }
  static std::string Summary(int added, int updated, int removed, int unchanged, int skipped) {
    char line[256];
    std::snprintf(line, sizeof line, kScanSummaryFormat.data(), 0LL + added, 0LL + updated, 0LL + removed,
                  0LL + unchanged, 0LL + skipped);
    return std::string(line) + "\n";
  }
  std::string Chart(const std::string& name, const std::vector<std::string>& lines) {
    return folder.Write("songs/" + name, Crlf(lines));
  }

  TempFolder folder;
};

TEST_F(LibraryModes, AddFindRescanRemoveAndStats) {
  const std::string alpha = Chart("Alpha/alpha_7.bme", {"#TITLE Alpha Storm", "#ARTIST Kaze", "#GENRE TRANCE",
                                                        "#PLAYLEVEL 3", "#BPM 150", "#00111:01", "#00118:01"});
  const std::string beta = Chart("Beta/beta_5.bms", {"#TITLE Beta", "#ARTIST Someone", "#GENRE Storm Core",
                                                     "#PLAYLEVEL 9", "#BPM 120", "#00111:0101"});
  const std::string gamma = Chart("Beta/gamma.bms", {"#TITLE Gamma", "#ARTIST Other", "#BPM 120", "#00112:01"});
  Chart("Beta/notes.txt", {"not a chart"});
  // Named like a chart, never opened: a scan would wait on it for ever.
  const std::string pipe = folder.Path("songs/Beta/pipe.bms");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);

  // Named twice, scanned once.
  const Ran added = Vremo({"--library-add", folder.Path("songs") + "/", folder.Path("songs/Alpha/..")});
  EXPECT_EQ(added.status, kExitLoaded) << added.err;
  EXPECT_EQ(added.out, Summary(3, 0, 0, 0, 1));
  EXPECT_EQ(added.err, "vremo: " + std::string(kSkipNotAFile) + pipe + "\n");

  // Every word, in any letter case, in title, artist, genre or folder; sorted by path.
  const Ran storm = Vremo({"--library-find", "STORM"});
  EXPECT_EQ(storm.status, kExitLoaded);
  EXPECT_EQ(storm.out, alpha + "\n" + beta + "\n");
  EXPECT_EQ(Vremo({"--library-find", "storm", "kaze"}).out, alpha + "\n");
  EXPECT_EQ(Vremo({"--library-find", "beta"}).out, beta + "\n" + gamma + "\n");
  EXPECT_EQ(Vremo({"--library-find", "--level", "5-12", ""}).out, beta + "\n");
  EXPECT_EQ(Vremo({"--library-find", ""}).out, alpha + "\n" + beta + "\n" + gamma + "\n");
  const Ran none = Vremo({"--library-find", "delta"});
  EXPECT_EQ(none.status, kExitNoMatch);
  EXPECT_EQ(none.out, "");

  // A chart saved again is read again; one that vanished goes; nothing else is read.
  Chart("Alpha/alpha_7.bme", {"#TITLE Alpha Calm", "#ARTIST Kaze", "#PLAYLEVEL 3", "#BPM 150", "#00111:01"});
  EXPECT_EQ(Vremo({"--library-scan"}).out, Summary(0, 1, 0, 2, 1));
  EXPECT_EQ(Vremo({"--library-find", "storm"}).out, beta + "\n");
  std::filesystem::remove(gamma);
  EXPECT_EQ(Vremo({"--library-scan"}).out, Summary(0, 0, 1, 2, 1));
  std::filesystem::remove(pipe);
  EXPECT_EQ(Vremo({"--library-scan"}).out, Summary(0, 0, 0, 2, 0));

  // A user play of one chart, found in the score log; the lengths as --info gives them: 1.6 s and 3 s.
  EXPECT_EQ(
      Finish(Start(VREMO_EXECUTABLE, {"--render", folder.Path("play.wav"), "--option", "UserPlay=True", beta})).status,
      kExitLoaded);
  const Ran stats = Vremo({"--library-stats"});
  EXPECT_EQ(stats.status, kExitLoaded);
  EXPECT_EQ(stats.out.substr(0, stats.out.find("library file: ")),
            "charts: 2\nsong folders: 2\nlibrary folders: 1\nplayed: 1\nneeding modern reading: 0\n"
            "total length: 0:00:04\n");
  EXPECT_TRUE(stats.out.ends_with(" bytes\n")) << stats.out;

  // Wrong folders and wrong usage change nothing.
  const Ran missing = Vremo({"--library-add", folder.Path("songs/Alpha"), "nowhere"});
  EXPECT_EQ(missing.status, kExitMissing);
  EXPECT_EQ(missing.err, "vremo: " + std::string(kNotAFolderText) + "nowhere\n");
  EXPECT_EQ(Vremo({"--library-add", alpha}).status, kExitMissing);
  EXPECT_EQ(Vremo({"--library-scan", "extra"}).status, kExitUsage);
  EXPECT_EQ(Vremo({"--library-find", "--keys", "many", "x"}).status, kExitUsage);
  const std::string counts = Vremo({"--library-stats"}).out;
  EXPECT_EQ(counts.substr(0, counts.find("library file: ")), stats.out.substr(0, stats.out.find("library file: ")));

  const Ran removed = Vremo({"--library-remove", folder.Path("songs")});
  EXPECT_EQ(removed.status, kExitLoaded);
  EXPECT_EQ(removed.out, Summary(0, 0, 2, 0, 0));
  EXPECT_EQ(Vremo({"--library-find", ""}).status, kExitNoMatch);
}

TEST_F(LibraryModes, ACorruptLibraryIsSetAsideAndRebuilt) {
  const std::string chart = Chart("Song/song.bms", {"#TITLE Song", "#BPM 120", "#00111:01"});
  std::string noise;
  for (int i = 0; i < 8192; ++i) noise += static_cast<char>((i * 7919 + 13) % 251);
  folder.Write("lib.db", noise);

  const Ran find = Vremo({"--library-find", ""});
  EXPECT_EQ(find.status, kExitNoMatch);
  EXPECT_TRUE(find.err.starts_with("vremo: ")) << find.err;
  EXPECT_NE(find.err.find(kBadLibrarySuffix), std::string::npos) << find.err;
  EXPECT_EQ(folder.Read("lib.db" + std::string(kBadLibrarySuffix)), noise);

  const Ran added = Vremo({"--library-add", folder.Path("songs")});
  EXPECT_EQ(added.err, "");
  EXPECT_EQ(added.out, Summary(1, 0, 0, 0, 0));
  EXPECT_EQ(Vremo({"--library-find", "song"}).out, chart + "\n");
  EXPECT_EQ(folder.Read("lib.db" + std::string(kBadLibrarySuffix)), noise);
}

// A scan killed half way, or stopped by Ctrl+C, is finished by the next one:
// the library then equals one scanned in one go.
TEST_F(LibraryModes, AnInterruptedScanIsFinishedByTheNext) {
  const std::string songs = folder.Path("collection");
  constexpr int kFolders = 2 * kProgressEveryFolders;
  constexpr int kChartsEach = 2;
  const Ran made = Finish(Start(
      VREMO_MAKE_LIBRARY, {songs, "--folders", std::to_string(kFolders), "--charts", std::to_string(kChartsEach)}));
  ASSERT_EQ(made.status, 0) << made.err;

  const Ran clean = Vremo({"--library-add", songs}, "clean.db");
  EXPECT_EQ(clean.out, Summary(kFolders * kChartsEach, 0, 0, 0, 0));
  const Ran all = Vremo({"--library-find", ""}, "clean.db");
  EXPECT_EQ(std::count(all.out.begin(), all.out.end(), '\n'), kFolders * kChartsEach);

  // Killed: what was written stays, whole song folders only.
  pid_t scan = Start(VREMO_EXECUTABLE, {"--library", folder.Path("lib.db"), "--library-add", songs});
  ASSERT_TRUE(WaitForProgress());
  ::kill(scan, SIGKILL);
  EXPECT_EQ(Finish(scan).status, -SIGKILL);
  const std::string partial = Vremo({"--library-find", ""}).out;
  const auto partialCharts = std::count(partial.begin(), partial.end(), '\n');
  EXPECT_GE(partialCharts, kProgressEveryFolders * kChartsEach);
  EXPECT_LT(partialCharts, kFolders * kChartsEach);
  EXPECT_EQ(partialCharts % kChartsEach, 0);
  EXPECT_EQ(Vremo({"--library-scan"}).out, Summary(static_cast<int>(kFolders * kChartsEach - partialCharts), 0, 0,
                                                   static_cast<int>(partialCharts), 0));
  EXPECT_EQ(Vremo({"--library-find", ""}).out, all.out);

  // Ctrl+C: the summary of what was done, a line saying so and status 130.
  scan = Start(VREMO_EXECUTABLE, {"--library", folder.Path("stopped.db"), "--library-add", songs});
  ASSERT_TRUE(WaitForProgress());
  ::kill(scan, SIGINT);
  const Ran stopped = Finish(scan);
  EXPECT_EQ(stopped.status, kExitScanStopped);
  EXPECT_TRUE(stopped.out.starts_with("added ")) << stopped.out;
  EXPECT_NE(stopped.err.find("vremo: " + std::string(kScanStoppedText) + "\n"), std::string::npos) << stopped.err;
  EXPECT_NE(Vremo({"--library-find", ""}, "stopped.db").out, all.out);
  EXPECT_EQ(Vremo({"--library-scan"}, "stopped.db").status, kExitLoaded);
  EXPECT_EQ(Vremo({"--library-find", ""}, "stopped.db").out, all.out);
}

}  // namespace
}  // namespace vremo
