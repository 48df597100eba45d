// Single instance and the temp.dat hand-over.
#include "shell/instance_lock.h"

#include <unistd.h>

#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>
#include <filesystem>

#include "chart/bms_reader.h"
#include "shell/atomic_file.h"
#include "shell/command_channel.h"
#include "shell/program_folder.h"

namespace vremo {
namespace {

constexpr int kHandOverWaitMs = 1000;

}  // namespace

std::string HandOverFilePath() { return (std::filesystem::path(ProgramFolder()) / kHandOverFileName).string(); }

std::string ReadHandOverFile(const std::string& path) {
  std::string bytes = ReadFileBytes(path);
  const size_t end = bytes.find_first_of("\r\n");
  if (end != std::string::npos) bytes.resize(end);
  return bytes;
}

std::string RuntimeFolder() {
  const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
  return (runtime.isEmpty() ? QDir::tempPath() : runtime).toStdString();
}

InstanceLock::InstanceLock(const std::string& lockFolder, std::string handOverFile)
    : lock_(std::make_unique<QLockFile>(QString::fromStdString(lockFolder) +
                                        QStringLiteral("/vremo-%1.lock").arg(::getuid()))),
      handOverFile_(std::move(handOverFile)) {}

InstanceLock::~InstanceLock() = default;

InstanceRole InstanceLock::Acquire() {
  // tryLock removes a lock whose process is gone (a crashed run).
  return lock_->tryLock(0) ? InstanceRole::kFirst : InstanceRole::kSecond;
}

bool InstanceLock::Publish(CommandChannel& channel, const QString& name, DebugLog& log) {
  // Holding the lock means no other instance answers on the name.
  if (!channel.Listen(name)) return false;
  if (!WriteFileAtomically(handOverFile_, name.toStdString() + "\r\n")) {
    log.PutLog("Err: can't write " + std::string(kHandOverFileName));
    return false;
  }
  return true;
}

bool HandOver(const std::string& handOverFile, const std::string& commandLine, DebugLog& log) {
  if (!log.CheckExist(handOverFile)) return false;
  const std::string name = ReadHandOverFile(handOverFile);
  if (name.empty() || commandLine.empty()) return false;
  QLocalSocket socket;
  socket.connectToServer(QString::fromStdString(name));
  if (!socket.waitForConnected(kHandOverWaitMs)) return false;
  std::string line = std::string(kHandOverPrefix) + commandLine;
  for (char& c : line) c = (c == '\n' || c == '\r') ? ' ' : c;
  socket.write(QByteArray::fromStdString(line + "\n"));
  const bool sent = socket.waitForBytesWritten(kHandOverWaitMs) || socket.bytesToWrite() == 0;
  socket.disconnectFromServer();
  return sent;
}

std::optional<std::string> HandOverPoll(std::string_view caption) {
  if (!caption.starts_with(kHandOverPrefix)) return std::nullopt;
  return std::string(caption.substr(kHandOverPrefix.size()));
}

}  // namespace vremo
