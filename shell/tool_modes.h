#pragma once
// Headless tool modes of the vremo executable (--info, --dump, --help,
// --version). They are recognised before anything else, so they never reach
// the player's own command-line parser. Main thread.

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "chart/load_context.h"
#include "play/settings.h"

namespace vremo {

// Exit status of --info and --dump by the last load's result.
inline constexpr int kExitLoaded = 0;
inline constexpr int kExitNoObject = 1;
inline constexpr int kExitMissing = 2;
inline constexpr int kExitWriteFailed = 3;
inline constexpr int kExitUsage = 64;

// A --seed value: a whole number 0-4294967295.
std::optional<uint32_t> ParseSeed(const std::string& text);

// The arguments of a tool mode that loads charts without media:
// "--option NAME=VALUE" (any settings key; ModernReading=True switches the
// reading) and "--seed N" anywhere, the rest are chart paths.
struct LoadArguments {
  LoadOptions options;
  Settings settings;  // the defaults with the --option values
  std::vector<std::string> paths;
};
// False with a message on `err` for a missing value, an unknown option or a
// bad seed.
bool ParseLoadArguments(const std::vector<std::string>& args, LoadArguments& parsed, std::ostream& err);

// Runs the tool mode named by args[0] (the arguments after the program
// name) and returns its exit status; empty when args name no tool mode.
std::optional<int> RunToolMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace vremo
