#include "shell/command_channel.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QLocalSocket>
#include <future>
#include <memory>
#include <sstream>

#include "shell/send_mode.h"
#include "tests/shell/window_test_support.h"

namespace vremo {
namespace {

class Calls : public CommandHandler {
 public:
  void CommandLoad(const std::string& path) override { calls.push_back("load[" + path + "]"); }
  void CommandStop() override { calls.push_back("stop"); }
  void CommandSeek(int32_t position) override { calls.push_back("seek " + std::to_string(position)); }
  void CommandQuit() override { calls.push_back("quit"); }
  void CommandPause() override { calls.push_back("pause"); }
  void CommandLineReceived(const std::string& line) override { calls.push_back("line[" + line + "]"); }
  std::vector<std::string> calls;
};

using testing::WaitFor;

QString UniqueName() {
  static int counter = 0;
  return QStringLiteral("vremo-test-%1-%2").arg(::getpid()).arg(counter++);
}

// A partner program: collects the lines it receives.
struct Partner {
  // `wait` false: connect in the background, for crowds the listen queue cannot hold.
  explicit Partner(const QString& name, bool wait = true) {
    socket.connectToServer(name);
    if (wait) socket.waitForConnected(5000);
  }
  void Say(const QByteArray& bytes) {
    socket.write(bytes);
    socket.flush();
  }
  QList<QByteArray> Lines() {
    received += socket.readAll();
    QList<QByteArray> lines = received.split('\n');
    lines.removeLast();
    return lines;
  }
  QLocalSocket socket;
  QByteArray received;
};

class CommandChannelTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(channel.Listen(name)); }
  QString name = UniqueName();
  Calls handler;
  MemoryLogSink sink;
  DebugLog log{&sink};
  CommandChannel channel{handler, log};
};

using Lines = QList<QByteArray>;

TEST(ExternalCommand, TextsAsTheLinkedBoxTookThem) {
  Calls h;
  // 12.5 halves to even; no number, no seek; LLOAD alone loads its own text;
  // five characters decide.
  for (const char* taken : {"LLOAD /songs/my song.bms", "LSEEK 12.5", "LSEEK  768 ", "LSEEK", "LSEEK x", "LLOAD",
                            "LSTOPPED", "LCLOSE", "Lwhatever"}) {
    EXPECT_TRUE(ApplyExternalCommand(taken, h)) << taken;
  }
  for (const char* ignored : {"POK", "PNEXT", "PCLOSE", "lstop", "", " LSTOP"}) {
    EXPECT_FALSE(ApplyExternalCommand(ignored, h)) << ignored;
  }
  EXPECT_EQ(h.calls,
            (std::vector<std::string>{"load[/songs/my song.bms]", "seek 12", "seek 768", "load[LLOAD]", "stop"}));
}

TEST_F(CommandChannelTest, RepliesToEveryAcceptedCommandOnly) {
  struct stat info {};
  ASSERT_EQ(::stat(channel.fullServerName().toStdString().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 077, 0u) << std::oct << info.st_mode;

  Partner partner(name);
  EXPECT_FALSE(channel.DdeLinked());
  partner.Say("PNEXT\nhello\nLLOAD /a b.bms\r\nLSTOP\nLSEEK 96\nLPAUS\nLQUIT\nLSEEK\n");
  ASSERT_TRUE(WaitFor([&] { return partner.Lines().size() == 6; }));
  EXPECT_EQ(partner.Lines(), Lines(6, "POK"));
  EXPECT_EQ(handler.calls, (std::vector<std::string>{"load[/a b.bms]", "stop", "seek 96", "pause", "quit"}));
  EXPECT_TRUE(channel.DdeLinked());

  // A second start hands over its command line: no reply.
  partner.Say("ReceiveCommand: \"/x y.bms\" -p\nLSTOP\n");
  ASSERT_TRUE(WaitFor([&] { return partner.Lines().size() == 7; }));
  EXPECT_EQ(handler.calls.at(5), "line[\"/x y.bms\" -p]");

  // LCLOSE: its reply, then the link ends; the flag stays.
  partner.Say("LCLOSE\n");
  ASSERT_TRUE(WaitFor([&] { return partner.socket.state() == QLocalSocket::UnconnectedState; }));
  EXPECT_EQ(partner.Lines().size(), 8);
  EXPECT_TRUE(channel.DdeLinked());
}

TEST_F(CommandChannelTest, NoticesGoToEveryPartner) {
  Partner first(name);
  Partner second(name);
  ASSERT_TRUE(WaitFor([&] { return channel.PartnerCount() == 2; }));
  channel.SendLength(125000);
  channel.SendNext();
  channel.SendClose();  // no accepted command yet: not linked, no notice
  ASSERT_TRUE(WaitFor([&] { return first.Lines().size() == 2 && second.Lines().size() == 2; }));
  EXPECT_EQ(second.Lines(), (Lines{"PLENGTH 125000", "PNEXT"}));
  first.Say("LSTOP\n");
  ASSERT_TRUE(WaitFor([&] { return first.Lines().size() == 3; }));
  channel.SendClose();
  ASSERT_TRUE(WaitFor([&] { return first.Lines().size() == 4 && second.Lines().size() == 3; }));
  EXPECT_EQ(first.Lines(), (Lines{"PLENGTH 125000", "PNEXT", "POK", "PCLOSE"}));
  EXPECT_EQ(second.Lines().last(), "PCLOSE");
}

TEST_F(CommandChannelTest, BadInputIsRefusedAndThePlayerGoesOn) {
  Partner partner(name);
  static const char kBad[] = "LLOAD a\0b\nLLOAD \xC3\x28\nLSTOP\n";
  partner.Say(QByteArray(kBad, sizeof kBad - 1));
  ASSERT_TRUE(WaitFor([&] { return partner.Lines().size() == 1; }));
  EXPECT_EQ(handler.calls, (std::vector<std::string>{"stop"}));
  EXPECT_EQ(std::count(sink.lines.begin(), sink.lines.end(), "Err: command refused (not UTF-8 text)"), 2);

  // A line that never ends costs a bounded buffer, then the connection.
  Partner flood(name);
  flood.Say(QByteArray(10 * kMaxCommandBytes, 'L'));
  ASSERT_TRUE(WaitFor([&] { return flood.socket.state() == QLocalSocket::UnconnectedState; }));
  EXPECT_EQ(sink.lines.back(), "Err: command partner dropped (line too long)");

  // Many partners come and go at once; beyond the limit they are turned away.
  std::vector<std::unique_ptr<Partner>> crowd;
  for (int i = 0; i < 2 * kMaxPartners; ++i) crowd.push_back(std::make_unique<Partner>(name, false));
  ASSERT_TRUE(WaitFor([&] { return channel.PartnerCount() == kMaxPartners; }));
  crowd.clear();
  ASSERT_TRUE(WaitFor([&] { return channel.PartnerCount() == 1; }));

  // A partner that sends but never reads its replies is dropped; the others go on.
  Partner deaf(name);
  deaf.socket.write(QByteArray("LSTOP\n").repeated(200000));
  const std::string dropped = "Err: command partner dropped (partner does not read)";
  ASSERT_TRUE(WaitFor([&] { return sink.lines.back() == dropped; }));
  EXPECT_EQ(channel.PartnerCount(), 1);
  partner.Say("LSTOP\n");
  ASSERT_TRUE(WaitFor([&] { return partner.Lines().size() == 2; }));
}

TEST_F(CommandChannelTest, SendModePrintsTheReplies) {
  std::ostringstream out;
  std::ostringstream err;
  auto sent = std::async(std::launch::async, [&] { return SendCommand(name, "LLOAD /a b.bms", out, err); });
  ASSERT_TRUE(WaitFor([&] { return sent.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
  EXPECT_TRUE(sent.get());
  EXPECT_EQ(out.str(), "POK\n");
  EXPECT_EQ(handler.calls, (std::vector<std::string>{"load[/a b.bms]"}));

  std::ostringstream none;
  EXPECT_FALSE(SendCommand(UniqueName(), "LSTOP", none, err));
  EXPECT_EQ(none.str(), "");
  EXPECT_NE(err.str().find("no running vremo"), std::string::npos);

  // A command left unanswered (text not UTF-8: refused, link kept) fails a
  // script; a text that is no command gets no answer by design.
  std::ostringstream silent;
  auto unanswered = std::async(std::launch::async, [&] { return DeliverCommand(name, "LSTOP \xC3\x28", silent, err); });
  auto ignored = std::async(std::launch::async, [&] { return DeliverCommand(name, "hello", silent, err); });
  ASSERT_TRUE(WaitFor([&] { return unanswered.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
  EXPECT_EQ(unanswered.get(), kExitNoAnswer);
  EXPECT_NE(err.str().find("did not answer within 5000 ms"), std::string::npos) << err.str();
  EXPECT_EQ(ignored.get(), 0);
  EXPECT_EQ(silent.str(), "");
}

}  // namespace
}  // namespace vremo
