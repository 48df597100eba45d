#pragma once
// One player per user. The first instance holds a lock file in the runtime
// folder, listens on the command channel and writes temp.dat (in the
// program's folder) naming that channel; a later start finds the lock held,
// hands its command line to the channel named in temp.dat and ends. A lock
// or temp.dat left by a crashed run does not stop the next first instance.
// HandOverPoll is the timMoved tick's test of the caption. Called from
// main() and the main window; UI thread only.

#include <QLockFile>
#include <QString>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "chart/debug_log.h"

namespace vremo {

class CommandChannel;

inline constexpr std::string_view kHandOverFileName = "temp.dat";
inline constexpr int kHandOverPollMs = 500;  // timMoved

// temp.dat in ProgramFolder().
std::string HandOverFilePath();
// The channel name in the file's first line; empty when missing or empty.
std::string ReadHandOverFile(const std::string& path);

enum class InstanceRole { kFirst, kSecond };

class InstanceLock {
 public:
  // lockFolder: where the lock lives ($XDG_RUNTIME_DIR in the program);
  // handOverFile: temp.dat's path.
  InstanceLock(const std::string& lockFolder, std::string handOverFile);
  ~InstanceLock();

  // Takes the lock, or learns that another instance holds it.
  InstanceRole Acquire();
  // First instance: listen on `name` and write temp.dat naming it.
  bool Publish(CommandChannel& channel, const QString& name, DebugLog& log);

 private:
  std::unique_ptr<QLockFile> lock_;
  std::string handOverFile_;
};

// Second instance: sends kHandOverPrefix + commandLine to the channel named
// in temp.dat. A missing temp.dat logs "Err[not exist] :temp.dat"; an empty
// one or an empty command line hands nothing over. False when nothing was
// delivered.
bool HandOver(const std::string& handOverFile, const std::string& commandLine, DebugLog& log);

// The default lock folder: $XDG_RUNTIME_DIR, else the temporary folder.
std::string RuntimeFolder();

// timMoved: a caption that begins with "ReceiveCommand: " carries a command
// line. The window then sets StopRequested and runs RunCommandLine with it,
// at every tick until the caption changes again.
std::optional<std::string> HandOverPoll(std::string_view caption);

}  // namespace vremo
