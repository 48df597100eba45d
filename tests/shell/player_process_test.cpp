// The real player as separate processes: the command channel with the
// bundled client, the hand-over of a second start, and closing.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "tests/support/temp_folder.h"

namespace vremo {
namespace {

using testing::TempFolder;

struct Output {
  int status;
  std::string text;
};

class PlayerProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    ::setenv("VREMO_HOME", folder.Path("home").c_str(), 1);
    ::setenv("XDG_RUNTIME_DIR", folder.Path("run").c_str(), 1);
    std::filesystem::create_directories(folder.Path("run"));
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("SDL_AUDIODRIVER", "dummy", 1);
    // What the desktop libraries keep until exit is no concern of this test.
    ::setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    player_ = ::fork();
    if (player_ == 0) {
      ::freopen("/dev/null", "w", stderr);
      ::execl(VREMO_EXECUTABLE, VREMO_EXECUTABLE, static_cast<char*>(nullptr));
      ::_exit(127);
    }
    // The player is up once it has written temp.dat.
    for (int i = 0; i < 200 && !std::filesystem::exists(folder.Path("home/temp.dat")); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
  void TearDown() override {
    if (player_ > 0 && ::waitpid(player_, nullptr, WNOHANG) == 0) {
      ::kill(player_, SIGKILL);
      ::waitpid(player_, nullptr, 0);
    }
  }
  static Output Run(const std::string& arguments) {
    FILE* pipe = ::popen((std::string(VREMO_EXECUTABLE) + " " + arguments + " 2>/dev/null").c_str(), "r");
    Output out{-1, {}};
    if (pipe == nullptr) return out;
    char buffer[4096];
    while (size_t n = std::fread(buffer, 1, sizeof buffer, pipe)) out.text.append(buffer, n);
    out.status = WEXITSTATUS(::pclose(pipe));
    return out;
  }
  // Waits up to five seconds for the player to end; its exit status or -1.
  int WaitForExit() {
    for (int i = 0; i < 100; ++i) {
      int status = 0;
      if (::waitpid(player_, &status, WNOHANG) == player_) {
        player_ = -1;
        return WEXITSTATUS(status);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return -1;
  }

  TempFolder folder;
  pid_t player_ = -1;
};

TEST_F(PlayerProcess, ChannelLoadsSeeksHandsOverAndQuits) {
  ASSERT_TRUE(std::filesystem::exists(folder.Path("home/temp.dat")));
  const Output load = Run(std::string("--send \"LLOAD ") + VREMO_DEMO_CHART + "\"");
  EXPECT_EQ(load.status, 0);
  EXPECT_EQ(load.text.substr(0, 4), "POK\n");
  EXPECT_NE(load.text.find("PLENGTH 55538\n"), std::string::npos) << load.text;

  EXPECT_EQ(Run("--send \"LSEEK 3000\"").text, "POK\n");
  EXPECT_EQ(Run("--send \"hello\"").text, "");

  // A second start hands its command line over and ends at once.
  EXPECT_EQ(Run(std::string("'") + VREMO_DEMO_CHART + "' -Q").status, 0);

  const Output quit = Run("--send LQUIT");
  EXPECT_NE(quit.text.find("POK"), std::string::npos) << quit.text;
  EXPECT_NE(quit.text.find("PCLOSE"), std::string::npos) << quit.text;
  EXPECT_EQ(WaitForExit(), 0);
  // Nothing runs any more: the client says so.
  EXPECT_EQ(Run("--send LSTOP").status, 1);
}

}  // namespace
}  // namespace vremo
