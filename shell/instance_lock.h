#pragma once
// One player per user. The first instance holds a lock file in the runtime
// folder, listens on the command channel and writes temp.dat (in the
// program's folder) naming that channel; a later start finds the lock held,
// hands its command line to the channel named in temp.dat and ends. A lock
// or temp.dat left by a crashed run does not stop the next first instance.
// The runtime folder must be private to the user: in a shared one another
// user could take the lock or the channel first.
// HandOverPoll is the timMoved tick's test of the caption. Called from
// main() and the main window; UI thread only.

#include <QLockFile>
#include <QString>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "chart/debug_log.h"

namespace vremo {

class CommandChannel;

inline constexpr std::string_view kHandOverFileName = "temp.dat";
inline constexpr int kHandOverPollMs = 500;  // timMoved

// temp.dat in ProgramFolder().
std::string HandOverFilePath();
// The channel name in the file's first line; empty when missing or empty.
std::string ReadHandOverFile(const std::string& path);

// kAlone: no private runtime folder or an unusable lock file; this player
// runs on its own, without lock and channel.
enum class InstanceRole { kFirst, kSecond, kAlone };

class InstanceLock {
 public:
  // lockFolder: where the lock lives (RuntimeFolder() in the program; empty
  // when there is none, with `problem` saying why); handOverFile: temp.dat's
  // path.
  InstanceLock(const std::string& lockFolder, std::string handOverFile, std::string problem = {});
  ~InstanceLock();

  // Takes the lock, or learns that another instance holds it.
  InstanceRole Acquire();
  // First instance: listen on `name` (or, when another kind of file holds
  // that place, on a spare name beside it) and write temp.dat naming the
  // channel. Alone: logs why there is no channel.
  bool Publish(CommandChannel& channel, const QString& name, DebugLog& log);
  // Why the player runs alone; empty otherwise.
  const std::string& problem() const { return problem_; }

 private:
  std::unique_ptr<QLockFile> lock_;
  std::string handOverFile_;
  std::string problem_;
  InstanceRole role_ = InstanceRole::kAlone;
};

// Second instance: sends kHandOverPrefix + commandLine to the channel named
// in temp.dat. A missing temp.dat logs "Err[not exist] :temp.dat"; an empty
// one or an empty command line hands nothing over. False when nothing was
// delivered. With `channelFolder` set, a channel outside it (a temp.dat left
// by another setup) is refused with a log line.
bool HandOver(const std::string& handOverFile, const std::string& commandLine, DebugLog& log,
              const std::string& channelFolder = {});
// The same for `vremo --open FILES`: the running player takes them as a drop.
bool HandOverFiles(const std::string& handOverFile, const std::vector<std::string>& files, DebugLog& log,
                   const std::string& channelFolder);

// Why `folder` cannot hold the lock and the channel; empty when it can: a
// real folder (not a link), owned by this user, closed to everyone else.
std::string PrivateFolderProblem(const std::string& folder);
// <parent>/vremo-<uid>, made with mode 0700 when missing. Empty, with
// `problem` set, when what is there is not private: never used then.
std::string PrivateFolderIn(const std::string& parent, std::string* problem);
// The lock and channel folder: $XDG_RUNTIME_DIR when it is private, else
// PrivateFolderIn(the temporary folder). Empty (and `problem` set) when
// neither is.
std::string RuntimeFolder(std::string* problem = nullptr);
// True when `serverName` is a path directly inside `folder`.
bool ChannelInFolder(const std::string& serverName, const std::string& folder);

// timMoved: a caption that begins with "ReceiveCommand: " carries a command
// line. The window then sets StopRequested and runs RunCommandLine with it,
// at every tick until the caption changes again.
std::optional<std::string> HandOverPoll(std::string_view caption);

}  // namespace vremo
