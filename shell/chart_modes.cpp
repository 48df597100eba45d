// --info and --dump, and the arguments of the tool modes that load charts.
#include "shell/chart_modes.h"

#include <charconv>
#include <memory>

#include "chart/bms_reader.h"
#include "chart/chart_compiler.h"
#include "chart/chart_dump.h"
#include "play/settings.h"
#include "shell/tool_modes.h"

namespace vremo {
int ExitStatusOf(int32_t result) {
  if (result == kLoadOk) return kExitLoaded;
  if (result == kLoadNoObject) return kExitNoObject;
  return kExitMissing;
}

int LoadCharts(const std::vector<std::string>& paths, const LoadOptions& options, bool info, std::ostream& out) {
  auto chart = std::make_unique<Chart>();
  MemoryLogSink sink;
  DebugLog log(&sink);
  NullMediaLoader media;
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

std::optional<uint32_t> ParseSeed(const std::string& text) {
  uint32_t seed = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), seed);
  if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  return seed;
}

bool ParseLoadArguments(const std::vector<std::string>& args, LoadArguments& parsed, std::ostream& err) {
  Settings& settings = parsed.settings;
  parsed.options.noWav = true;
  parsed.options.noBga = true;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg != "--option" && arg != "--seed") {
      parsed.paths.push_back(arg);
      continue;
    }
    if (i + 1 >= args.size()) {
      err << "vremo: " << arg << " needs a value\n";
      return false;
    }
    const std::string& value = args[++i];
    if (arg == "--seed") {
      parsed.options.seed = ParseSeed(value);
      if (!parsed.options.seed) {
        err << "vremo: bad value for --seed: " << value << '\n';
        return false;
      }
    } else if (!SetOptionText(settings, value)) {
      err << "vremo: unknown option or bad value: " << value << '\n';
      return false;
    }
  }
  parsed.options.modernReading = settings.modernReading;
  return true;
}

std::optional<int> RunChartMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.empty() || (args[0] != "--info" && args[0] != "--dump")) return std::nullopt;
  const std::vector<std::string> rest(args.begin() + 1, args.end());
  for (size_t i = 0; i < rest.size(); ++i) {
    if (rest[i] == "--option" || rest[i] == "--seed") {
      ++i;
    } else if (rest[i].starts_with("--")) {
      return std::nullopt;
    }
  }
  LoadArguments parsed;
  if (!ParseLoadArguments(rest, parsed, err)) return kExitUsage;
  if (parsed.paths.empty()) {
    err << "vremo: " << args[0] << " needs at least one chart file\n";
    return kExitUsage;
  }
  return LoadCharts(parsed.paths, parsed.options, args[0] == "--info", out);
}

}  // namespace vremo
