// Single instance and the temp.dat hand-over.
#include "shell/instance_lock.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QLocalSocket>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "chart/bms_reader.h"
#include "shell/atomic_file.h"
#include "shell/command_channel.h"
#include "shell/command_line.h"
#include "shell/program_folder.h"

namespace vremo {
namespace {

constexpr int kHandOverWaitMs = 1000;
constexpr mode_t kPrivateMode = 0700;
constexpr mode_t kOthersBits = 077;
constexpr int kSpareChannelNames = 3;

// "vremo-0.sock" -> "vremo-0-1.sock": the same folder, so partners trust it.
QString SpareChannelName(const QString& name, int spare) {
  const QString suffix = QStringLiteral(".sock");
  const QString stem = name.endsWith(suffix) ? name.chopped(suffix.size()) : name;
  return stem + QStringLiteral("-%1").arg(spare) + (name.endsWith(suffix) ? suffix : QString());
}

std::string OctalMode(mode_t mode) {
  char text[8];
  std::snprintf(text, sizeof text, "%03o", static_cast<unsigned>(mode & 0777));
  return text;
}

}  // namespace

std::string HandOverFilePath() { return (std::filesystem::path(ProgramFolder()) / kHandOverFileName).string(); }

std::string ReadHandOverFile(const std::string& path) {
  std::string bytes = ReadFileBytes(path);
  const size_t end = bytes.find_first_of("\r\n");
  if (end != std::string::npos) bytes.resize(end);
  return bytes;
}

std::string PrivateFolderProblem(const std::string& folder) {
  // lstat: a link is never followed, whatever it points at.
  struct stat info {};
  if (::lstat(folder.c_str(), &info) != 0) return folder + ": missing";
  if (S_ISLNK(info.st_mode)) return folder + ": a symbolic link";
  if (!S_ISDIR(info.st_mode)) return folder + ": not a folder";
  if (info.st_uid != ::geteuid()) return folder + ": owned by another user";
  if ((info.st_mode & kOthersBits) != 0) return folder + ": open to other users (mode " + OctalMode(info.st_mode) + ")";
  return {};
}

std::string PrivateFolderIn(const std::string& parent, std::string* problem) {
  const std::string folder = parent + "/vremo-" + std::to_string(::geteuid());
  // Fails harmlessly when something is there already; the check decides.
  if (::mkdir(folder.c_str(), kPrivateMode) != 0 && errno != EEXIST) {
    if (problem != nullptr) *problem = folder + ": cannot be made";
    return {};
  }
  std::string why = PrivateFolderProblem(folder);
  if (why.empty()) return folder;
  if (problem != nullptr) *problem = std::move(why);
  return {};
}

std::string RuntimeFolder(std::string* problem) {
  if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime != nullptr && *runtime != '\0') {
    if (PrivateFolderProblem(runtime).empty()) return runtime;
  }
  return PrivateFolderIn(QDir::tempPath().toStdString(), problem);
}

bool ChannelInFolder(const std::string& serverName, const std::string& folder) {
  return !folder.empty() && serverName.size() > folder.size() + 1 && serverName.starts_with(folder + "/") &&
         serverName.find('/', folder.size() + 1) == std::string::npos;
}

InstanceLock::InstanceLock(const std::string& lockFolder, std::string handOverFile, std::string problem)
    : handOverFile_(std::move(handOverFile)), problem_(std::move(problem)) {
  if (lockFolder.empty()) return;
  lock_ = std::make_unique<QLockFile>(QString::fromStdString(lockFolder) +
                                      QStringLiteral("/vremo-%1.lock").arg(::getuid()));
}

InstanceLock::~InstanceLock() = default;

InstanceRole InstanceLock::Acquire() {
  if (lock_ == nullptr) {
    if (problem_.empty()) problem_ = "no lock folder";
    return role_ = InstanceRole::kAlone;
  }
  // A folder, a link or the like in the lock's place is held by nobody, yet
  // QLockFile would take it for a running player.
  const std::string path = lock_->fileName().toStdString();
  struct stat info {};
  const bool usable = ::lstat(path.c_str(), &info) != 0 || S_ISREG(info.st_mode);
  // tryLock removes a lock whose process is gone (a crashed run).
  if (usable && lock_->tryLock(0)) return role_ = InstanceRole::kFirst;
  if (usable && lock_->error() == QLockFile::LockFailedError) return role_ = InstanceRole::kSecond;
  problem_ = path + ": not a usable lock file";
  return role_ = InstanceRole::kAlone;
}

bool InstanceLock::Publish(CommandChannel& channel, const QString& name, DebugLog& log) {
  if (role_ == InstanceRole::kAlone) {
    log.PutLog("Err: no command channel (" + problem_ + ")");
    return false;
  }
  // Holding the lock means no other instance answers on the name. Another
  // kind of file in its place is left alone: the channel takes a spare name
  // beside it, and temp.dat tells partners which.
  QString listening;
  for (int spare = 0; spare <= kSpareChannelNames && listening.isEmpty(); ++spare) {
    const QString candidate = spare == 0 ? name : SpareChannelName(name, spare);
    if (channel.Listen(candidate)) listening = candidate;
  }
  if (listening.isEmpty()) return false;
  if (!WriteFileAtomically(handOverFile_, listening.toStdString() + "\r\n")) {
    log.PutLog("Err: can't write " + std::string(kHandOverFileName));
    return false;
  }
  return true;
}

namespace {

// Sends `prefix` + `text` as one line to the channel temp.dat names.
bool SendHandOverLine(const std::string& handOverFile, std::string_view prefix, const std::string& text, DebugLog& log,
                      const std::string& channelFolder) {
  if (!log.CheckExist(handOverFile)) return false;
  const std::string name = ReadHandOverFile(handOverFile);
  if (name.empty() || text.empty()) return false;
  if (!channelFolder.empty() && !ChannelInFolder(name, channelFolder)) {
    log.PutLog("Err: " + std::string(kHandOverFileName) + " names a channel outside " + channelFolder);
    return false;
  }
  QLocalSocket socket;
  socket.connectToServer(QString::fromStdString(name));
  if (!socket.waitForConnected(kHandOverWaitMs)) return false;
  std::string line = std::string(prefix) + text;
  for (char& c : line) c = (c == '\n' || c == '\r') ? ' ' : c;
  socket.write(QByteArray::fromStdString(line + "\n"));
  const bool sent = socket.waitForBytesWritten(kHandOverWaitMs) || socket.bytesToWrite() == 0;
  socket.disconnectFromServer();
  return sent;
}

}  // namespace

bool HandOver(const std::string& handOverFile, const std::string& commandLine, DebugLog& log,
              const std::string& channelFolder) {
  return SendHandOverLine(handOverFile, kHandOverPrefix, commandLine, log, channelFolder);
}

bool HandOverFiles(const std::string& handOverFile, const std::vector<std::string>& files, DebugLog& log,
                   const std::string& channelFolder) {
  return SendHandOverLine(handOverFile, kOpenFilesPrefix, JoinArguments(files), log, channelFolder);
}

std::optional<std::string> HandOverPoll(std::string_view caption) {
  if (!caption.starts_with(kHandOverPrefix)) return std::nullopt;
  return std::string(caption.substr(kHandOverPrefix.size()));
}

}  // namespace vremo
