// The command channel's command-line client.
#include "shell/send_mode.h"

#include <QCoreApplication>
#include <QLocalSocket>
#include <memory>

#include "shell/command_channel.h"
#include "shell/instance_lock.h"
#include "shell/tool_modes.h"

namespace vremo {

QString InstanceServerName() {
  const std::string named = ReadHandOverFile(HandOverFilePath());
  return named.empty() ? ChannelName() : QString::fromStdString(named);
}

bool SendCommand(const QString& server, const std::string& text, std::ostream& out, std::ostream& err) {
  QLocalSocket socket;
  socket.connectToServer(server);
  if (!socket.waitForConnected(kSendConnectWaitMs)) {
    err << "no running vremo answers on " << server.toStdString() << "\n";
    return false;
  }
  // A line break inside the text would make two commands.
  std::string line = text;
  for (char& c : line) c = (c == '\n' || c == '\r') ? ' ' : c;
  socket.write(QByteArray::fromStdString(line + "\n"));
  socket.waitForBytesWritten(kSendConnectWaitMs);
  QByteArray received;
  while (socket.state() == QLocalSocket::ConnectedState && socket.waitForReadyRead(kSendQuietMs)) {
    received += socket.readAll();
  }
  received += socket.readAll();
  out << received.toStdString();
  return true;
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
  return SendCommand(InstanceServerName(), text, out, err) ? 0 : kExitNoInstance;
}

}  // namespace vremo
