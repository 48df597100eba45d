#include "shell/instance_lock.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QSysInfo>
#include <cstring>

#include "chart/bms_reader.h"
#include "shell/command_channel.h"
#include "tests/chart/chart_fixture.h"
#include "tests/shell/window_test_support.h"

namespace vremo {
namespace {

using testing::TempFolder;

class Received : public CommandHandler {
 public:
  void CommandLoad(const std::string&) override {}
  void CommandStop() override {}
  void CommandSeek(int32_t) override {}
  void CommandQuit() override {}
  void CommandPause() override {}
  void CommandLineReceived(const std::string& line) override { lines.push_back(line); }
  std::vector<std::string> lines;
};

using testing::WaitFor;

QString TestName(const char* what) { return QStringLiteral("vremo-test-%1-%2").arg(::getpid()).arg(what); }

// The process id of a process that has ended.
pid_t DeadPid() {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(0);
  ::waitpid(child, nullptr, 0);
  return child;
}

class InstanceTest : public ::testing::Test {
 protected:
  std::string HandOverFile() const { return (folder.path() / "temp.dat").string(); }
  TempFolder folder;
  Received handler;
  MemoryLogSink sink;
  DebugLog log{&sink};
};

TEST_F(InstanceTest, SecondStartHandsItsCommandLineToTheFirstPastACrashedRun) {
  // No hand-over file is logged; an empty one says nothing.
  EXPECT_FALSE(HandOver(HandOverFile(), "a.bms", log));
  folder.Write("temp.dat", "");
  EXPECT_FALSE(HandOver(HandOverFile(), "a.bms", log));
  EXPECT_EQ(sink.lines, (std::vector<std::string>{"Err[not exist] :temp.dat"}));

  // A crashed run's leftovers: a lock naming a process that is gone, a
  // temp.dat naming a channel nobody serves, and a socket file left behind.
  folder.Write("vremo-" + std::to_string(::getuid()) + ".lock",
               std::to_string(DeadPid()) + "\nvremo\n" + QSysInfo::machineHostName().toStdString() + "\n");
  folder.Write("temp.dat", "nobody-listens-here\r\n");
  EXPECT_FALSE(HandOver(HandOverFile(), "-s", log));
  const QString name = TestName("stale");
  int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, ("/tmp/" + name.toStdString()).c_str(), sizeof address.sun_path - 1);
  ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ::close(fd);

  InstanceLock first(folder.path().string(), HandOverFile());
  ASSERT_EQ(first.Acquire(), InstanceRole::kFirst);
  CommandChannel channel(handler, log);
  ASSERT_TRUE(first.Publish(channel, name, log));
  EXPECT_EQ(ReadFileBytes(HandOverFile()), name.toStdString() + "\r\n");

  InstanceLock second(folder.path().string(), HandOverFile());
  EXPECT_EQ(second.Acquire(), InstanceRole::kSecond);
  EXPECT_TRUE(HandOver(HandOverFile(), "\"/m/my song.bms\" -p", log));
  ASSERT_TRUE(WaitFor([&] { return handler.lines.size() == 1; }));
  EXPECT_EQ(handler.lines[0], "\"/m/my song.bms\" -p");
  // Nothing to hand over: the second start just ends.
  EXPECT_FALSE(HandOver(HandOverFile(), "", log));
}

TEST_F(InstanceTest, SquattedPrivateFolderIsRefused) {
  const std::string own = "vremo-" + std::to_string(::geteuid());
  // Missing: made, closed to others, and used.
  std::filesystem::create_directories(folder.Path("fresh"));
  EXPECT_EQ(PrivateFolderIn(folder.Path("fresh"), nullptr), folder.Path("fresh/" + own));
  EXPECT_EQ(std::filesystem::symlink_status(folder.Path("fresh/" + own)).permissions(),
            std::filesystem::perms::owner_all);

  // Made first by someone else: open to others, a link to a private folder,
  // a file of another kind, another owner. Each is refused and left alone.
  std::filesystem::create_directories(folder.Path("open/" + own));
  ::chmod(folder.Path("open/" + own).c_str(), 0777);
  std::filesystem::create_directories(folder.Path("link"));
  std::filesystem::create_directory_symlink(folder.Path("fresh/" + own), folder.Path("link/" + own));
  folder.Write("file/" + own, "");
  std::vector<std::pair<std::string, std::string>> squatted{
      {"open", ": open to other users (mode 777)"}, {"link", ": a symbolic link"}, {"file", ": not a folder"}};
  if (::geteuid() == 0) {
    std::filesystem::create_directories(folder.Path("other/" + own));
    ::chmod(folder.Path("other/" + own).c_str(), 0700);
    ASSERT_EQ(::chown(folder.Path("other/" + own).c_str(), 65534, 65534), 0);
    squatted.emplace_back("other", ": owned by another user");
  }
  for (const auto& [parent, why] : squatted) {
    std::string problem;
    EXPECT_EQ(PrivateFolderIn(folder.Path(parent), &problem), "") << parent;
    EXPECT_EQ(problem, folder.Path(parent + "/" + own) + why);
  }
  EXPECT_EQ(std::filesystem::status(folder.Path("open/" + own)).permissions(), std::filesystem::perms::all);

  // Without a runtime folder the temporary folder's is taken, and refused:
  // the player runs alone and says so; no hand-over goes anywhere else.
  const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
  const QByteArray temp = qgetenv("TMPDIR");
  qunsetenv("XDG_RUNTIME_DIR");
  qputenv("TMPDIR", QByteArray::fromStdString(folder.Path("open")));
  std::string problem;
  EXPECT_EQ(RuntimeFolder(&problem), "");
  EXPECT_EQ(ChannelName(), QString());
  qputenv("TMPDIR", QByteArray::fromStdString(folder.Path("fresh")));
  EXPECT_EQ(RuntimeFolder(), folder.Path("fresh/" + own));
  runtime.isNull() ? qunsetenv("XDG_RUNTIME_DIR") : qputenv("XDG_RUNTIME_DIR", runtime);
  temp.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", temp);

  InstanceLock alone("", HandOverFile(), problem);
  EXPECT_EQ(alone.Acquire(), InstanceRole::kAlone);
  // A folder in the lock's place is no running player.
  std::filesystem::create_directories(folder.Path("fresh/" + own + "/" + own + ".lock"));
  EXPECT_EQ(InstanceLock(folder.Path("fresh/" + own), HandOverFile()).Acquire(), InstanceRole::kAlone);
  CommandChannel channel(handler, log);
  EXPECT_FALSE(alone.Publish(channel, TestName("alone"), log));
  EXPECT_EQ(sink.lines.back(),
            "Err: no command channel (" + folder.Path("open/" + own) + ": open to other users (mode 777))");
  folder.Write("temp.dat", "/tmp/vremo-" + std::to_string(::geteuid()) + ".sock\r\n");
  EXPECT_FALSE(HandOver(HandOverFile(), "a.bms", log, folder.Path("fresh/" + own)));
  EXPECT_EQ(sink.lines.back(), "Err: temp.dat names a channel outside " + folder.Path("fresh/" + own));

  // Not our socket where the channel goes: the player goes on without it; the thing stays.
  const std::string taken = folder.Write("fresh/" + own + "/taken.sock", "user's bytes");
  EXPECT_FALSE(channel.Listen(QString::fromStdString(taken)));
  EXPECT_EQ(sink.lines.back(), "Err: command channel " + taken + " exists and is not our socket");
  EXPECT_EQ(folder.Read("fresh/" + own + "/taken.sock"), "user's bytes");
}

TEST(HandOverPollTest, CaptionCarriesTheCommandLine) {
  EXPECT_EQ(HandOverPoll("ReceiveCommand: a.bms -p"), "a.bms -p");
  EXPECT_EQ(HandOverPoll("ReceiveCommand: "), "");
  EXPECT_FALSE(HandOverPoll("Vremo v0.26 release - Ready").has_value());
  EXPECT_FALSE(HandOverPoll("ReceiveCommand:x").has_value());
}

}  // namespace
}  // namespace vremo
