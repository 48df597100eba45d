// The real player as separate processes: the command channel with the
// bundled client, the hand-over of a second start, and closing.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "chart/bms_reader.h"
#include "display/wav_writer.h"
#include "shell/command_channel.h"
#include "shell/key_map_file.h"
#include "shell/play_list_file.h"
#include "shell/send_mode.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/temp_folder.h"

namespace vremo {
namespace {

using testing::TempFolder;

constexpr int kPartnerWaitMs = 30000;

// A chart editor's side: a raw local socket collecting every line the player sends.
class Partner {
 public:
  explicit Partner(const std::string& path) {
    fd_ = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    connected_ = ::connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  }
  ~Partner() { ::close(fd_); }
  bool connected() const { return connected_; }
  void Send(const std::string& line) {
    EXPECT_EQ(::send(fd_, line.data(), line.size(), MSG_NOSIGNAL), ssize_t(line.size()));
  }
  // Reads until `text` arrives (true) or the player falls silent; all read stays in received().
  bool WaitFor(const std::string& text, int waitMs = kPartnerWaitMs) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(waitMs);
    while (received_.find(text, consumed_) == std::string::npos) {
      if (std::chrono::steady_clock::now() > end) return false;
      pollfd one{fd_, POLLIN, 0};
      if (::poll(&one, 1, 100) <= 0) continue;
      char buffer[4096];
      const ssize_t n = ::read(fd_, buffer, sizeof buffer);
      if (n <= 0) return received_.find(text, consumed_) != std::string::npos;
      received_.append(buffer, static_cast<size_t>(n));
    }
    consumed_ = received_.find(text, consumed_) + text.size();
    return true;
  }
  const std::string& received() const { return received_; }
  int fd() const { return fd_; }

 private:
  int fd_ = -1;
  bool connected_ = false;
  std::string received_;
  size_t consumed_ = 0;
};

struct Output {
  int status;
  std::string text;
};

class PlayerProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    Prepare();
    StartPlayer();
  }
  void Prepare() {
    ::setenv("VREMO_HOME", folder.Path("home").c_str(), 1);
    ::setenv("XDG_RUNTIME_DIR", folder.Path("run").c_str(), 1);
    std::filesystem::create_directories(folder.Path("run"));
    // A runtime folder others may read is refused (and a shared one used).
    std::filesystem::permissions(folder.Path("run"), std::filesystem::perms::owner_all);
    // Both windows' places, to be found again in the file after the run.
    folder.Write("home/vremo.ini", kSettings);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("SDL_AUDIODRIVER", "dummy", 1);
    // What the desktop libraries keep until exit is no concern of this test.
    ::setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
  }
  // `fileSizeLimit`: no file of the player grows past it (a full disk);
  // `errors`: where its standard error goes; `user`: another user to run as.
  void StartPlayer(rlim_t fileSizeLimit = RLIM_INFINITY, const std::string& errors = "/dev/null", uid_t user = 0) {
    std::filesystem::remove(folder.Path(handOver_));
    player_ = ::fork();
    if (player_ == 0) {
      ::freopen(errors.c_str(), "w", stderr);
      if (fileSizeLimit != RLIM_INFINITY) testing::LimitFileSize(fileSizeLimit);
      if (user != 0 && (::setgid(user) != 0 || ::setuid(user) != 0)) ::_exit(126);
      ::execl(VREMO_EXECUTABLE, VREMO_EXECUTABLE, static_cast<char*>(nullptr));
      ::_exit(127);
    }
    // The player is up once it has written temp.dat.
    for (int i = 0; i < 200 && !std::filesystem::exists(folder.Path(handOver_)); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
  void TearDown() override {
    if (player_ > 0 && ::waitpid(player_, nullptr, WNOHANG) == 0) {
      ::kill(player_, SIGKILL);
      ::waitpid(player_, nullptr, 0);
    }
  }
  // `from`: the folder the command starts in; `errors`: standard error too.
  static Output Run(const std::string& arguments, const std::string& from = {}, bool errors = false) {
    const std::string command = (from.empty() ? "" : "cd '" + from + "' && ") + VREMO_EXECUTABLE + " " + arguments +
                                (errors ? " 2>&1" : " 2>/dev/null");
    FILE* pipe = ::popen(command.c_str(), "r");
    Output out{-1, {}};
    if (pipe == nullptr) return out;
    char buffer[4096];
    while (size_t n = std::fread(buffer, 1, sizeof buffer, pipe)) out.text.append(buffer, n);
    out.status = WEXITSTATUS(::pclose(pipe));
    return out;
  }
  // Waits up to `seconds` for the player to end; its exit status or -1.
  int WaitForExit(int seconds = 5) {
    for (int i = 0; i < seconds * 20; ++i) {
      int status = 0;
      if (::waitpid(player_, &status, WNOHANG) == player_) {
        player_ = -1;
        return WEXITSTATUS(status);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return -1;
  }
  std::string Channel() const {
    const std::string handOver = folder.Read(handOver_);
    return handOver.substr(0, handOver.find_first_of("\r\n"));
  }

  static constexpr const char* kSettings =
      "[MainForm]\r\nLeft=30\r\nTop=40\r\nWidth=1000\r\nHeight=700\r\nWindowState=0\r\n"
      "[PlayList]\r\nLeft=50\r\nTop=60\r\nWidth=300\r\nHeight=200\r\nWindowState=0\r\n"
      "[Setting]\r\nSleep=1\r\nHiSpeed=1\r\nRealHiSpeed=1\r\n";
  TempFolder folder;
  pid_t player_ = -1;
  std::string handOver_ = "home/temp.dat";  // where the player names its channel
};

TEST_F(PlayerProcess, ChannelLoadsSeeksHandsOverAndQuits) {
  ASSERT_TRUE(std::filesystem::exists(folder.Path("home/temp.dat")));
  const Output load = Run(std::string("--send \"LLOAD ") + VREMO_DEMO_CHART + "\"");
  EXPECT_EQ(load.status, 0);
  EXPECT_EQ(load.text.substr(0, 4), "POK\n");
  EXPECT_NE(load.text.find("PLENGTH 55538\n"), std::string::npos) << load.text;

  EXPECT_EQ(Run("--send \"LSEEK 3000\"").text, "POK\n");
  // Tool modes run beside the player.
  const Output info = Run(std::string("--info '") + VREMO_DEMO_CHART + "'");
  EXPECT_EQ(info.status, 0);
  EXPECT_NE(info.text.find("* title:Vremo Demo - Paper Lanterns\n"), std::string::npos);
  EXPECT_NE(info.text.find("* TotalNotes 1:323 2:0\n"), std::string::npos);
  EXPECT_EQ(info.text.substr(info.text.size() - 17), "----------------\n");

  // A second start hands its command line over and ends at once.
  EXPECT_EQ(Run(std::string("'") + VREMO_DEMO_CHART + "' -Q").status, 0);

  {
    // With every place taken the player turns the client away: it says so.
    std::vector<std::unique_ptr<Partner>> crowd;
    for (int i = 0; i < kMaxPartners; ++i) crowd.push_back(std::make_unique<Partner>(Channel()));
    crowd.back()->Send("LSTOP\n");
    ASSERT_TRUE(crowd.back()->WaitFor("POK\n"));
    const Output refused = Run("--send LSTOP", {}, true);
    EXPECT_EQ(refused.status, kExitRefused);
    EXPECT_NE(refused.text.find("closed the connection unanswered"), std::string::npos) << refused.text;
  }

  const Output quit = Run("--send LQUIT");
  EXPECT_NE(quit.text.find("POK"), std::string::npos) << quit.text;
  EXPECT_NE(quit.text.find("PCLOSE"), std::string::npos) << quit.text;
  EXPECT_EQ(WaitForExit(), 0);
  // Nothing runs any more: the client says so.
  EXPECT_EQ(Run("--send LSTOP").status, 1);
}

TEST_F(PlayerProcess, OpenedFilesActAsADropOnTheRunningPlayer) {
  // A double click on a list: the running player loads it and plays its first chart.
  auto demo = ReadChartHeader(VREMO_DEMO_CHART);
  ASSERT_TRUE(demo.has_value());
  folder.Write("lists/mine.vrl", EncodeListFile({*demo}));
  Partner partner(Channel());
  ASSERT_TRUE(partner.connected());
  EXPECT_EQ(Run("--open mine.vrl", folder.Path("lists")).status, 0);
  EXPECT_TRUE(partner.WaitFor("PLENGTH 55538\n")) << partner.received();
  // A record for another chart gets the record message, and the player goes on.
  folder.Write("lists/other.vpd", std::string(12, '\x7F'));
  EXPECT_EQ(Run("--open other.vpd", folder.Path("lists")).status, 0);
  partner.Send("LSTOP\n");
  EXPECT_TRUE(partner.WaitFor("POK\n", 1000)) << partner.received();
}

TEST_F(PlayerProcess, BadInputAndUnreadableChartsDoNotStopThePlayer) {
  const std::string channel = Channel();
  Partner partner(channel);
  ASSERT_TRUE(partner.connected());
  partner.Send(std::string("LLOAD ") + VREMO_DEMO_CHART + "\n");
  ASSERT_TRUE(partner.WaitFor("PLENGTH 55538\n")) << partner.received();

  {
    // A 10 MB line, NUL bytes, invalid UTF-8, a crowd coming and going at once.
    Partner flood(channel);
    const std::string line(10 << 20, 'L');
    size_t sent = 0;
    while (sent < line.size()) {
      const ssize_t n = ::send(flood.fd(), line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
      if (n <= 0) break;  // the player hung up on the endless line
      sent += static_cast<size_t>(n);
    }
    partner.Send(std::string("LSTOP\0x\n", 9));
    partner.Send("LSTOP \xC3\x28\n");
    std::vector<std::unique_ptr<Partner>> crowd;
    for (int i = 0; i < 200; ++i) crowd.push_back(std::make_unique<Partner>(channel));
  }

  // Still playing: a seek near the end answers; the song then ends by itself.
  partner.Send("LSEEK 6300\n");
  EXPECT_TRUE(partner.WaitFor("POK\n")) << partner.received();
  EXPECT_TRUE(partner.WaitFor("PNEXT\n")) << partner.received();
  // LLOAD and LSEEK were answered, the two bad lines were not.
  EXPECT_EQ(partner.received(), "POK\nPLENGTH 55538\nPOK\nPNEXT\n");

  // Charts that cannot be read: the player still answers.
  const std::string fifo = folder.Path("never-ends.bms");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  for (const std::string& path : {std::string("/proc/self/mem"), fifo}) {
    partner.Send("LLOAD " + path + "\n");
    ASSERT_TRUE(partner.WaitFor("POK\n")) << path;
    // The load runs on the play timer's tick, after this reply.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    partner.Send("LSTOP\n");
    EXPECT_TRUE(partner.WaitFor("POK\n", 1000)) << path;
  }

  // A second start with a chart: the running player plays it and tells its
  // partner when the song has ended by itself. With -Q (and another chart:
  // the same one would not be loaded again) it closes after the song.
  const std::string song = folder.Write("short.bms", "#PLAYER 1\r\n#BPM 240\r\n#00111:01\r\n#00211:01\r\n");
  EXPECT_EQ(Run("'" + song + "'").status, 0);
  EXPECT_TRUE(partner.WaitFor("PLENGTH 2000\nPNEXT\n")) << partner.received();
  EXPECT_EQ(Run("'" + folder.Write("other.bms", "#PLAYER 1\r\n#BPM 240\r\n#00111:01\r\n") + "' -Q").status, 0);
  EXPECT_TRUE(partner.WaitFor("PLENGTH 1000\nPCLOSE\n")) << partner.received();
  EXPECT_EQ(WaitForExit(30), 0);
  // The windows' places went back into the settings file.
  const std::string settings = folder.Read("home/vremo.ini");
  EXPECT_NE(settings.find("[MainForm]\r\nLeft=30\r\nTop=40\r\nWidth=1000\r\nHeight=700\r\n"), std::string::npos);
  EXPECT_NE(settings.find("[PlayList]\r\nLeft=50\r\nTop=60\r\nWidth=300\r\nHeight=200\r\nWindowState=0\r\n"),
            std::string::npos);
}

// The player reading base-36 slots and decoding on one thread, so that a
// load of a thousand sounds lasts a while.
class PlayerLoading : public PlayerProcess {
 protected:
  void SetUp() override {
    Prepare();
    folder.Write("home/vremo.ini", std::string(kSettings) + "ModernReading=True\r\nLoadThreads=1\r\n");
    StartPlayer();
  }
};

TEST_F(PlayerLoading, StopAnotherChartOrQuitDuringAThousandFileLoadCancelIt) {
  constexpr int kSounds = 1000;
  constexpr int32_t kRate = 44100;
  const std::vector<float> second(2 * kRate, 0.1f);  // a second of stereo
  const char* digits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  std::string chart = "#PLAYER 1\r\n#BPM 240\r\n";
  std::filesystem::create_directories(folder.Path("big"));
  const std::string first = folder.Path("big/s1.wav");
  ASSERT_TRUE(WriteWavFile(first, second.data(), kRate, kRate));
  for (int i = 1; i <= kSounds; ++i) {
    const std::string name = "s" + std::to_string(i) + ".wav";
    if (i > 1) std::filesystem::copy_file(first, folder.Path("big/" + name));
    chart += std::string("#WAV") + digits[i / 36] + digits[i % 36] + " " + name + "\r\n";
  }
  const std::string big = folder.Write("big/big.bms", chart + "#00111:01\r\n");
  const std::string song = folder.Write("short.bms", "#PLAYER 1\r\n#BPM 240\r\n#00111:01\r\n");

  Partner partner(Channel());
  ASSERT_TRUE(partner.connected());
  // Each time the big chart's load is under way, on the play timer's tick
  // just after the reply, when the next command comes.
  const auto loadBig = [&] {
    partner.Send("LLOAD " + big + "\n");
    ASSERT_TRUE(partner.WaitFor("POK\n"));
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
  };
  loadBig();
  const auto sent = std::chrono::steady_clock::now();
  partner.Send("LSTOP\n");
  ASSERT_TRUE(partner.WaitFor("POK\n"));
  const auto answered = std::chrono::steady_clock::now() - sent;
  std::printf("LSTOP answered during the load in %lld ms\n",
              static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(answered).count()));
  // Another chart asked for during the load is loaded and played to its end.
  loadBig();
  partner.Send("LLOAD " + song + "\n");
  EXPECT_TRUE(partner.WaitFor("PNEXT\n")) << partner.received();
  // Quitting during the load closes the player.
  loadBig();
  partner.Send("LQUIT\n");
  EXPECT_TRUE(partner.WaitFor("PCLOSE\n")) << partner.received();
  EXPECT_EQ(WaitForExit(30), 0);
  // The big chart never told its length: each of its loads ended before its
  // files were all decoded.
  EXPECT_EQ(partner.received(), "POK\nPOK\nPOK\nPOK\nPLENGTH 1000\nPNEXT\nPOK\nPOK\nPCLOSE\n");
}

TEST_F(PlayerProcess, EndingSignalsCloseAsTheWindowDoes) {
  // An 8-measure song at 60 BPM: still playing when the player is told to end.
  const std::string song = folder.Write("songs/long.bms", "#PLAYER 1\r\n#BPM 60\r\n#00811:01\r\n");
  const std::vector<std::string> saved{"vremo.ini", "vrkeycnf.dat", "default.vrl"};
  std::map<std::string, std::string> afterQuit;
  for (int ending : {0, SIGTERM, SIGINT, SIGHUP}) {
    if (ending != 0) {
      for (const std::string& name : saved) std::filesystem::remove(folder.Path("home/" + name));
      folder.Write("home/vremo.ini", kSettings);
      StartPlayer();
    }
    Partner partner(Channel());
    ASSERT_TRUE(partner.connected());
    partner.Send("LSTOP\n");
    ASSERT_TRUE(partner.WaitFor("POK\n"));
    // A second start in the song's folder names it relatively.
    EXPECT_EQ(Run("long.bms", folder.Path("songs")).status, 0);
    EXPECT_TRUE(partner.WaitFor("PLENGTH 32000\n")) << ending << partner.received();
    if (ending == 0) {
      partner.Send("LQUIT\n");
    } else {
      ::kill(player_, ending);
    }
    EXPECT_TRUE(partner.WaitFor("PCLOSE\n")) << ending << partner.received();
    EXPECT_EQ(WaitForExit(30), 0) << ending;
    // The list holds the song by its full path.
    EXPECT_NE(folder.Read("home/default.vrl").find(song), std::string::npos) << ending;
    for (const std::string& name : saved) {
      ASSERT_TRUE(std::filesystem::exists(folder.Path("home/" + name))) << ending << name;
      if (ending == 0) {
        afterQuit[name] = folder.Read("home/" + name);
      } else {
        EXPECT_EQ(folder.Read("home/" + name), afterQuit[name]) << ending << name;
      }
    }
  }
}

// Faults around the real player: each time it goes on, says so, leaves the
// user's files whole and answers its next command.
class PlayerFaults : public PlayerProcess {
 protected:
  void SetUp() override { Prepare(); }
  static constexpr rlim_t kDiskRoom = 4096;
};

TEST_F(PlayerFaults, FullDiskLostSoundAndAChartFolderGoingAway) {
  // Every file the player writes is near or past the room left on the disk.
  const std::string settings =
      std::string(kSettings) + "UserPlay=True\r\nDontWait=True\r\n;" + std::string(kDiskRoom, 'n') + "\r\n";
  const std::string keys = EncodeKeyMap(DefaultKeyMap()) + std::string(kDiskRoom, '\x7F');
  const std::string scores = std::string(kDiskRoom - 60, 's');
  ChartListInfo gone;
  gone.path = folder.Path("gone/") + std::string(200, 'g') + ".bms";
  const std::string list = EncodeListFile(std::vector<ChartListInfo>(20, gone));
  const std::map<std::string, std::string> before{
      {"vremo.ini", settings}, {"vrkeycnf.dat", keys}, {"vremoscore.txt", scores}, {"default.vrl", list}};
  for (const auto& [name, bytes] : before) folder.Write("home/" + name, bytes);
  // The disk driver's output fills the room at once: the device is lost in play.
  ::setenv("SDL_AUDIODRIVER", "disk", 1);
  ::setenv("SDL_DISKAUDIOFILE", folder.Path("home/sound.raw").c_str(), 1);
  StartPlayer(kDiskRoom, folder.Path("errors.txt"));
  Partner partner(Channel());
  ASSERT_TRUE(partner.connected());

  // A user play to its end: the score block does not fit and is not left half.
  const std::string song = folder.Write("short.bms", "#PLAYER 1\r\n#BPM 240\r\n#00111:01\r\n#00211:01\r\n");
  partner.Send("LLOAD " + song + "\n");
  EXPECT_TRUE(partner.WaitFor("PLENGTH 2000\nPNEXT\n")) << partner.received();
  partner.Send("LSTOP\n");
  EXPECT_TRUE(partner.WaitFor("POK\n")) << partner.received();
  EXPECT_EQ(folder.Read("home/vremoscore.txt"), scores);

  // A chart whose folder goes away while its sounds load.
  std::string chart = "#PLAYER 1\r\n#BPM 120\r\n";
  for (int slot = 1; slot < 256; ++slot) {
    char name[16];
    std::snprintf(name, sizeof name, "%02X", slot);
    chart += "#WAV" + std::string(name) + " s" + name + ".wav\r\n";
    folder.Write("songs/many/s" + std::string(name) + ".wav", std::string(4096, '\0'));
  }
  const std::string many = folder.Write("songs/many/many.bms", chart + "#00111:01\r\n");
  partner.Send("LLOAD " + many + "\n");
  ASSERT_TRUE(partner.WaitFor("POK\n")) << partner.received();
  std::filesystem::remove_all(folder.Path("songs"));
  partner.Send("LSTOP\n");
  EXPECT_TRUE(partner.WaitFor("POK\n")) << partner.received();

  // Closing: nothing fits, everything stays as it was; the list says so.
  partner.Send("LQUIT\n");
  EXPECT_TRUE(partner.WaitFor("PCLOSE\n")) << partner.received();
  EXPECT_EQ(WaitForExit(30), 0);
  for (const auto& [name, bytes] : before) EXPECT_EQ(folder.Read("home/" + name), bytes) << name;
  EXPECT_NE(folder.Read("errors.txt").find("an error occured in list saving process!"), std::string::npos)
      << folder.Read("errors.txt");
}

TEST_F(PlayerFaults, NoSoundDeviceAndTheChannelsPlaceTaken) {
  ::setenv("SDL_AUDIODRIVER", "no-such-driver", 1);
  const std::string own = "run/vremo-" + std::to_string(::getuid());
  const std::string taken = folder.Write(own + ".sock", "user's bytes");
  StartPlayer();
  // The channel goes beside the file, and temp.dat says where.
  EXPECT_EQ(Channel(), folder.Path(own + "-1.sock"));
  {
    Partner partner(Channel());
    partner.Send(std::string("LLOAD ") + VREMO_DEMO_CHART + "\n");
    EXPECT_TRUE(partner.WaitFor("POK\nPLENGTH 55538\n")) << partner.received();
  }
  EXPECT_EQ(Run("--send LQUIT").status, 0);
  EXPECT_EQ(WaitForExit(30), 0);
  EXPECT_EQ(folder.Read(own + ".sock"), "user's bytes");

  // A socket a crashed run left behind is ours to replace.
  std::filesystem::remove(taken);
  const int stale = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "%s", taken.c_str());
  ASSERT_EQ(::bind(stale, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ::close(stale);
  StartPlayer();
  EXPECT_EQ(Channel(), taken);
  EXPECT_EQ(Run("--send LSTOP").text, "POK\n");
}

TEST_F(PlayerFaults, AHomeItMayNotWriteIsNamedAndLeftAlone) {
  // Root writes everywhere: the player runs as nobody, the home stays root's.
  if (::geteuid() != 0) GTEST_SKIP() << "runs the player as another user";
  constexpr uid_t kNobody = 65534;
  ::chmod(folder.Path("home").c_str(), 0700);
  for (const char* own : {"nobody/run", "nobody/data"}) {
    std::filesystem::create_directories(folder.Path(own));
    ASSERT_EQ(::chown(folder.Path(own).c_str(), kNobody, kNobody), 0);
    ::chmod(folder.Path(own).c_str(), 0700);
  }
  ::setenv("XDG_RUNTIME_DIR", folder.Path("nobody/run").c_str(), 1);
  ::setenv("XDG_DATA_HOME", folder.Path("nobody/data").c_str(), 1);
  handOver_ = "nobody/data/vremo/temp.dat";
  StartPlayer(RLIM_INFINITY, folder.Path("errors.txt"), kNobody);
  Partner partner(Channel());
  ASSERT_TRUE(partner.connected()) << folder.Read("errors.txt");
  const std::string song = folder.Write("short.bms", "#PLAYER 1\r\n#BPM 240\r\n#00111:01\r\n#00211:01\r\n");
  partner.Send("LLOAD " + song + "\n");
  EXPECT_TRUE(partner.WaitFor("POK\nPLENGTH 2000\n")) << partner.received();
  partner.Send("LQUIT\n");
  EXPECT_TRUE(partner.WaitFor("PCLOSE\n")) << partner.received();
  EXPECT_EQ(WaitForExit(30), 0);
  EXPECT_NE(folder.Read("errors.txt")
                .find("vremo: Err: VREMO_HOME " + folder.Path("home") + " is not a writable folder; using " +
                      folder.Path("nobody/data/vremo")),
            std::string::npos)
      << folder.Read("errors.txt");
  EXPECT_EQ(folder.Read("home/vremo.ini"), kSettings);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path("home")), {}), 1);
  EXPECT_TRUE(std::filesystem::exists(folder.Path("nobody/data/vremo/vremo.ini")));
}

}  // namespace
}  // namespace vremo
