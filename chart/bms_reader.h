#pragma once
// Reading a BMS chart (*.bms, *.bme) into the one Chart: LoadChart reads the
// file, hands every #WAVxx / #BMPxx line to the media layer in file order,
// and compiles the result (chart_compiler.h). ReadChartHeader is the play
// list's light reader: the same rules on its own tables, no media, no log.
// UI thread only (ReadChartHeader: any thread).

#include <cstdint>
#include <optional>
#include <string>

#include "chart/chart.h"
#include "chart/file_bytes.h"
#include "chart/load_context.h"

namespace vremo {

inline constexpr int32_t kLoadOk = 1;
inline constexpr int32_t kLoadNoObject = 0;
inline constexpr int32_t kLoadMissing = -1;

// Returns kLoadOk, kLoadNoObject ("  Err: object not exists." logged) or
// kLoadMissing (the file does not exist; nothing else is touched).
int32_t LoadChart(const std::string& path, Chart& chart, LoadContext& context);

// What the play list shows of a chart.
struct ChartListInfo : ChartHeader {
  int32_t lengthMs = 0;
  std::string path;
};

// Empty when the file does not exist.
std::optional<ChartListInfo> ReadChartHeader(const std::string& path);

}  // namespace vremo
