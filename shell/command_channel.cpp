// The external command channel.
#include "shell/command_channel.h"

#include "shell/instance_lock.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QLocalSocket>
#include <QStringDecoder>
#include <algorithm>

#include "chart/chart_text.h"
#include "chart/numbers.h"
#include "shell/command_line.h"

namespace vremo {
namespace {

constexpr size_t kCommandNameLength = 5;

// The text after the first blank; the whole text when there is none.
std::string_view Argument(std::string_view text) {
  const size_t blank = text.find(' ');
  return blank == std::string_view::npos ? text : text.substr(blank + 1);
}

bool IsValidUtf8(const QByteArray& bytes) {
  QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
  [[maybe_unused]] const QString text = decoder(bytes);
  return !decoder.hasError();
}

}  // namespace

bool ApplyExternalCommand(std::string_view text, CommandHandler& handler) {
  if (text.empty() || text[0] != 'L') return false;
  const std::string_view name = text.substr(0, kCommandNameLength);
  if (name == "LLOAD") {
    handler.CommandLoad(std::string(Argument(text)));
  } else if (name == "LSTOP") {
    handler.CommandStop();
  } else if (name == "LSEEK") {
    // A number that does not convert seeks nowhere.
    const auto number = ParseNumber(TrimBlanks(FromUtf8(Argument(text))));
    if (number) {
      if (auto position = RoundToInt32(*number)) handler.CommandSeek(*position);
    }
  } else if (name == "LQUIT") {
    handler.CommandQuit();
  } else if (name == "LPAUS") {
    handler.CommandPause();
  }
  return true;
}

QString ChannelName() {
  // In the user's own runtime folder: nobody else can reach it or replace it.
  const std::string folder = RuntimeFolder();
  if (folder.empty()) return {};
  return QString::fromStdString(folder) + QStringLiteral("/vremo-%1.sock").arg(::getuid());
}

CommandChannel::CommandChannel(CommandHandler& handler, DebugLog& log, QObject* parent)
    : QObject(parent), handler_(handler), log_(log) {
  server_.setSocketOptions(QLocalServer::UserAccessOption);
  connect(&server_, &QLocalServer::newConnection, this, &CommandChannel::Accept);
}

CommandChannel::~CommandChannel() {
  // The sockets die with the server, after the partner list: their signals
  // must not reach this half-destroyed channel.
  for (const Partner& partner : partners_) partner.socket->disconnect(this);
  partners_.clear();
}

bool CommandChannel::Listen(const QString& name) {
  // Where the server will put its socket (a bare name goes to the temporary folder).
  const std::string path =
      (QDir::isAbsolutePath(name) ? name : QDir::tempPath() + QLatin1Char('/') + name).toStdString();
  struct stat info {};
  if (::lstat(path.c_str(), &info) == 0) {
    // Only a socket of ours is a crashed run's leftover; anything else is
    // not ours to remove, and the player goes on without a channel.
    if (!S_ISSOCK(info.st_mode) || info.st_uid != ::geteuid()) {
      log_.PutLog("Err: command channel " + path + " exists and is not our socket");
      return false;
    }
    ::unlink(path.c_str());
  }
  if (server_.listen(name)) return true;
  log_.PutLog("Err: command channel " + server_.errorString().toStdString());
  return false;
}

void CommandChannel::Accept() {
  while (QLocalSocket* socket = server_.nextPendingConnection()) {
    if (partners_.size() >= static_cast<size_t>(kMaxPartners)) {
      socket->abort();
      socket->deleteLater();
      continue;
    }
    partners_.push_back({socket, {}});
    connect(socket, &QLocalSocket::readyRead, this, [this, socket] { ReadFrom(socket); });
    connect(socket, &QLocalSocket::disconnected, this, [this, socket] {
      std::erase_if(partners_, [socket](const Partner& p) { return p.socket == socket; });
      socket->deleteLater();
    });
  }
}

CommandChannel::Partner* CommandChannel::Find(QLocalSocket* socket) {
  auto it = std::find_if(partners_.begin(), partners_.end(), [socket](const Partner& p) { return p.socket == socket; });
  return it == partners_.end() ? nullptr : &*it;
}

void CommandChannel::ReadFrom(QLocalSocket* socket) {
  while (socket->bytesAvailable() > 0) {
    Partner* partner = Find(socket);
    if (partner == nullptr) return;
    partner->pending += socket->read(kMaxCommandBytes);
    qsizetype end;
    while ((end = partner->pending.indexOf('\n')) >= 0) {
      QByteArray line = partner->pending.left(end);
      partner->pending.remove(0, end + 1);
      if (line.endsWith('\r')) line.chop(1);
      HandleLine(socket, line);
      // A command may have closed the channel or this partner.
      partner = Find(socket);
      if (partner == nullptr) return;
    }
    if (partner->pending.size() > kMaxCommandBytes) return Drop(socket, "line too long");
  }
}

void CommandChannel::HandleLine(QLocalSocket* socket, const QByteArray& line) {
  if (line.contains('\0') || !IsValidUtf8(line)) {
    log_.PutLog("Err: command refused (not UTF-8 text)");
    return;
  }
  const std::string text = line.toStdString();
  if (text.starts_with(kHandOverPrefix)) {
    handler_.CommandLineReceived(text.substr(kHandOverPrefix.size()));
    return;
  }
  if (text.starts_with(kOpenFilesPrefix)) {
    std::vector<std::string> paths = SplitCommandLine(std::string_view(text).substr(kOpenFilesPrefix.size()));
    std::erase(paths, std::string());
    if (!paths.empty()) handler_.FilesReceived(paths);
    return;
  }
  if (text.empty() || text[0] != 'L') return;
  ddeLinked_ = true;
  const bool closing = text == "LCLOSE";
  ApplyExternalCommand(text, handler_);
  if (Find(socket) == nullptr) return;
  Send(socket, kReplyOk);
  // The partner ends its link: it gets its reply, then the connection ends.
  if (closing && Find(socket) != nullptr) socket->disconnectFromServer();
}

void CommandChannel::Send(QLocalSocket* socket, std::string_view text) {
  QByteArray bytes(text.data(), static_cast<qsizetype>(text.size()));
  bytes += '\n';
  socket->write(bytes);
  // A partner that never reads must not make the player hold its replies.
  if (socket->bytesToWrite() > kMaxPendingReplyBytes) Drop(socket, "partner does not read");
}

void CommandChannel::Broadcast(std::string_view text) {
  std::vector<QLocalSocket*> sockets;
  for (const auto& partner : partners_) sockets.push_back(partner.socket);
  for (QLocalSocket* socket : sockets) {
    if (Find(socket) != nullptr) Send(socket, text);
  }
}

void CommandChannel::Drop(QLocalSocket* socket, std::string_view why) {
  log_.PutLog("Err: command partner dropped (" + std::string(why) + ")");
  std::erase_if(partners_, [socket](const Partner& p) { return p.socket == socket; });
  socket->disconnect(this);
  socket->abort();
  socket->deleteLater();
}

void CommandChannel::SendLength(int32_t lengthMs) { Broadcast(std::string(kNoticeLength) + std::to_string(lengthMs)); }

void CommandChannel::SendNext() { Broadcast(kNoticeNext); }

void CommandChannel::SendClose() {
  if (ddeLinked_) Broadcast(kNoticeClose);
}

}  // namespace vremo
