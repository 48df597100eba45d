// The command channel's command-line client.
#include "shell/send_mode.h"

#include <QCoreApplication>
#include <QLocalSocket>
#include <memory>

#include "shell/command_channel.h"
#include "shell/instance_lock.h"
#include "shell/tool_modes.h"

namespace vremo {

QString InstanceServerName(std::string* problem) {
  const std::string folder = RuntimeFolder(problem);
  if (folder.empty()) return {};
  // A temp.dat naming a socket elsewhere (a shared folder) is not trusted
  // with the user's commands.
  const std::string named = ReadHandOverFile(HandOverFilePath());
  return ChannelInFolder(named, folder) ? QString::fromStdString(named) : ChannelName();
}

int DeliverCommand(const QString& server, const std::string& text, std::ostream& out, std::ostream& err) {
  QLocalSocket socket;
  socket.connectToServer(server);
  if (!socket.waitForConnected(kSendConnectWaitMs)) {
    err << "no running vremo answers on " << server.toStdString() << "\n";
    return kExitNoInstance;
  }
  // A line break inside the text would make two commands.
  std::string line = text;
  for (char& c : line) c = (c == '\n' || c == '\r') ? ' ' : c;
  socket.write(QByteArray::fromStdString(line + "\n"));
  socket.waitForBytesWritten(kSendConnectWaitMs);
  // Only a text beginning with "L" earns a reply.
  const bool answered = !line.empty() && line[0] == 'L';
  QByteArray received;
  int wait = answered ? kSendAnswerWaitMs : kSendQuietMs;
  while (socket.state() == QLocalSocket::ConnectedState && socket.waitForReadyRead(wait)) {
    received += socket.readAll();
    wait = kSendQuietMs;
  }
  received += socket.readAll();
  out << received.toStdString();
  if (!received.isEmpty()) return 0;
  if (socket.state() != QLocalSocket::ConnectedState) {
    err << "vremo: the player on " << server.toStdString()
        << " closed the connection unanswered (too many programs connected?)\n";
    return kExitRefused;
  }
  if (answered) {
    err << "vremo: the player on " << server.toStdString() << " did not answer within " << kSendAnswerWaitMs << " ms\n";
    return kExitNoAnswer;
  }
  return 0;
}

bool SendCommand(const QString& server, const std::string& text, std::ostream& out, std::ostream& err) {
  return DeliverCommand(server, text, out, err) == 0;
}

int RunSendMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() < 2) {
    err << "usage: vremo --send \"TEXT\"\n";
    return kExitUsage;
  }
  // Sockets want an application object; a tool mode may run before one exists.
  std::unique_ptr<QCoreApplication> app;
  static int argc = 1;
  static char name[] = "vremo";
  static char* argv[] = {name, nullptr};
  if (QCoreApplication::instance() == nullptr) app = std::make_unique<QCoreApplication>(argc, argv);
  std::string text = args[1];
  for (size_t i = 2; i < args.size(); ++i) text += " " + args[i];
  std::string problem;
  const QString server = InstanceServerName(&problem);
  if (server.isEmpty()) {
    err << "vremo: no private folder for the command channel (" << problem << ")\n";
    return kExitNoInstance;
  }
  return DeliverCommand(server, text, out, err);
}

}  // namespace vremo
