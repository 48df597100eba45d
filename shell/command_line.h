#pragma once
// The player's command line: the process's own at start-up and the ones a
// second start hands over. RunCommandLine splits a line into tokens and acts
// on each through a CommandTarget (the main window and its play list), so the
// rules can be checked without a window. UI thread only.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vremo {

// What a command line acts on.
class CommandTarget {
 public:
  virtual ~CommandTarget() = default;
  virtual void EnablePlayTimer() = 0;   // -P: timPlay starts the load sequence
  virtual void RequestStop() = 0;       // -S: StopRequested
  virtual void CheckBga() = 0;          // -B: chkSet item 1
  virtual void CheckWav() = 0;          // -W: chkSet item 0
  virtual void SetQuitAfterPlay() = 0;  // -Q: QuitAfterPlay
  virtual void ListLoad(const std::string& path) = 0;
  virtual void ListClear() = 0;
  virtual void ListAdd(const std::string& path) = 0;
  virtual void ListPlay(int32_t index) = 0;
};

// The tokens of a line: blanks separate, a double-quoted part keeps its
// blanks and loses its quotes, consecutive blanks give empty tokens.
std::vector<std::string> SplitCommandLine(std::string_view line);

// Applies every token in order (see command_line.cpp for the switch rule).
void RunCommandLine(std::string_view line, CommandTarget& target);

// The process's arguments (after the program name) as one command line:
// joined with blanks, an argument holding a blank wrapped in double quotes.
std::string JoinArguments(const std::vector<std::string>& args);

// The line with every relative file token made absolute against `folder`
// (the starting process's folder): the running player and default.vrl know
// nothing of that folder. Switches and empty tokens stay; a line with nothing
// to change comes back unchanged.
std::string AbsoluteCommandLine(std::string_view line, const std::string& folder);

}  // namespace vremo
