#pragma once
// `vremo --render OUT.wav [--option NAME=VALUE]... [--input EVENTS] [--seed N]
// CHART`:
// the headless counterpart of a real play. Loads the chart with its sounds,
// plays it with the play engine against a virtual clock in Sleep-millisecond
// passes (automatic play unless the options say otherwise), applies scripted
// key events through the lane-key rules, waits for the sounds unless
// DontWait, writes the mix as a 16-bit stereo WAV and prints the debug log.
// Tool modes start from the settings' defaults, never the user's file, so
// results are reproducible. Main thread.

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace vremo {

struct RenderRequest {
  std::string output;
  std::string chart;
  std::string input;                 // key-event script; empty for none
  std::vector<std::string> options;  // "NAME=VALUE"
  std::optional<uint32_t> seed;      // random blocks of the modern reading
};

// Parses the arguments after "--render"; empty with a message on `err`.
std::optional<RenderRequest> ParseRenderArgs(const std::vector<std::string>& args, std::ostream& err);

// Returns the exit status: 0 rendered, 1/2 as for --info, 3 the WAV could
// not be written, 64 wrong usage (bad option, unreadable or bad script).
int RunRender(const RenderRequest& request, std::ostream& out, std::ostream& err);

}  // namespace vremo
