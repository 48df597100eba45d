// --info, --dump, --help, --version.
#include "shell/tool_modes.h"

#include <memory>

#include "chart/bms_reader.h"
#include "chart/chart_compiler.h"
#include "chart/chart_dump.h"
#include "shell/render_mode.h"
#include "shell/send_mode.h"
#include "shell/snapshot_mode.h"

namespace vremo {
namespace {

constexpr const char* kVersionText = "Vremo v0.26 release";

constexpr const char* kHelpText =
    "Usage: vremo [OPTIONS] [CHART...]\n"
    "\n"
    "Tool modes (headless; nothing else runs):\n"
    "  --info CHART...   load the charts one after another without media and print\n"
    "                    the debug log of the last load and its song lines\n"
    "  --dump CHART...   load the charts likewise and print the last one, compiled,\n"
    "                    as one JSON object\n"
    "  --render OUT.wav [--option NAME=VALUE]... [--input EVENTS] CHART\n"
    "                    play the chart headless (automatic play unless the options\n"
    "                    say otherwise) and write the mix as a 16-bit stereo WAV;\n"
    "                    EVENTS holds lines \"MILLISECONDS down|up VK\" of key presses\n"
    "  --snapshot OUT.png [--at POSITION] [--size WxH] [--layout FILE]\n"
    "             [--option NAME=VALUE]... CHART\n"
    "                    play the chart automatically up to POSITION (192 a measure)\n"
    "                    and write that frame as PNG (default 640x480, default skin)\n"
    "  --send TEXT       send one command line to the running player and print its\n"
    "                    replies (exit status 1 when no player runs, 4 when it turns\n"
    "                    the connection away, 5 when an L command goes unanswered)\n"
    "  --help            this text\n"
    "  --version         the program's name and version\n"
    "\n"
    "Exit status: 0 done, 1 the chart holds no object, 2 the chart file does not\n"
    "exist, 3 the output could not be written, 64 wrong usage.\n";

int ExitStatusOf(int32_t result) {
  if (result == kLoadOk) return kExitLoaded;
  if (result == kLoadNoObject) return kExitNoObject;
  return kExitMissing;
}

// Loads every chart into one Chart, as consecutive loads in the player;
// only the last load's log lines reach `out` when printLog is set.
int LoadCharts(const std::vector<std::string>& paths, bool info, std::ostream& out) {
  auto chart = std::make_unique<Chart>();
  MemoryLogSink sink;
  DebugLog log(&sink);
  NullMediaLoader media;
  LoadOptions options;
  options.noWav = true;
  options.noBga = true;
  LoadContext context{log, media, options, {}};
  int32_t result = kLoadMissing;
  for (const std::string& path : paths) {
    sink.lines.clear();
    result = LoadChart(path, *chart, context);
    if (result == kLoadOk) {
      for (const std::string& line : SongInfoLines(*chart)) log.PutLog(line);
    } else {
      log.PutLog("BMS load error");
    }
  }
  if (info) {
    for (const std::string& line : sink.lines) out << line << '\n';
  } else {
    out << DumpChartJson(*chart);
  }
  out.flush();
  return ExitStatusOf(result);
}

}  // namespace

std::optional<int> RunToolMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.empty()) return std::nullopt;
  const std::string& mode = args[0];
  if (mode == "--help" || mode == "-h") {
    out << kHelpText;
    return kExitLoaded;
  }
  if (mode == "--version") {
    out << kVersionText << '\n';
    return kExitLoaded;
  }
  if (mode == "--render") {
    const auto request = ParseRenderArgs(std::vector<std::string>(args.begin() + 1, args.end()), err);
    return request ? RunRender(*request, out, err) : kExitUsage;
  }
  if (mode == "--send") return RunSendMode(args, out, err);
  if (mode == "--snapshot") return RunSnapshotMode(std::vector<std::string>(args.begin() + 1, args.end()), out, err);
  if (mode == "--info" || mode == "--dump") {
    const std::vector<std::string> paths(args.begin() + 1, args.end());
    if (paths.empty()) {
      err << "vremo: " << mode << " needs at least one chart file\n";
      return kExitUsage;
    }
    return LoadCharts(paths, mode == "--info", out);
  }
  return std::nullopt;
}

}  // namespace vremo
