// The timeline tool mode.
#include "shell/timeline_mode.h"

#include <memory>

#include "chart/bms_reader.h"
#include "chart/modern_reader.h"
#include "chart/timeline.h"
#include "play/settings.h"
#include "shell/tool_modes.h"

namespace vremo {

int RunTimelineMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  LoadArguments parsed;
  if (!ParseLoadArguments(args, parsed, err)) return kExitUsage;
  if (parsed.paths.size() != 1) {
    err << "vremo: usage: vremo --timeline [--option NAME=VALUE]... [--seed N] CHART\n";
    return kExitUsage;
  }
  MemoryLogSink sink;
  DebugLog log(&sink);
  NullMediaLoader media;
  LoadContext context{log, media, parsed.options, {}};
  auto chart = std::make_unique<Chart>();
  std::vector<ModernObject> objects;
  const std::string& path = parsed.paths.front();
  const int32_t result = parsed.options.modernReading ? LoadModernChart(path, *chart, context, &objects)
                                                      : LoadChart(path, *chart, context);
  if (result == kLoadMissing) {
    err << "vremo: no such chart: " << path << '\n';
    return kExitMissing;
  }
  if (result != kLoadOk) {
    err << "vremo: the chart holds no object: " << path << '\n';
    return kExitNoObject;
  }
  const std::vector<std::string> lines =
      parsed.options.modernReading ? ModernTimeline(objects, chart->timing) : ClassicTimeline(*chart);
  for (const std::string& line : lines) out << line << '\n';
  out.flush();
  return kExitLoaded;
}

}  // namespace vremo
