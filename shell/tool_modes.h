#pragma once
// Headless tool modes of the vremo executable (--info, --dump, --help,
// --version). They are recognised before anything else, so they never reach
// the player's own command-line parser. Main thread.

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace vremo {

// Exit status of --info and --dump by the last load's result.
inline constexpr int kExitLoaded = 0;
inline constexpr int kExitNoObject = 1;
inline constexpr int kExitMissing = 2;
inline constexpr int kExitWriteFailed = 3;
inline constexpr int kExitUsage = 64;

// Runs the tool mode named by args[0] (the arguments after the program
// name) and returns its exit status; empty when args name no tool mode.
std::optional<int> RunToolMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace vremo
