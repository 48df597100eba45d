// Listing a chart's media lines through the reader's own line parsers.
#include "chart/media_list.h"

#include <memory>

#include "chart/bms_lines.h"
#include "chart/chart.h"
#include "chart/chart_text.h"
#include "chart/file_bytes.h"
#include "chart/modern_lines.h"
#include "chart/text_detect.h"

namespace vremo {
namespace {

constexpr size_t kMediaWordPrefix = 3;  // "WAV" or "BMP"

bool IsMediaLine(std::u32string_view line) {
  if (line.size() < kMediaWordPrefix) return false;
  std::u32string prefix(line.substr(0, kMediaWordPrefix));
  for (char32_t& c : prefix) {
    if (c >= U'a' && c <= U'z') c -= U'a' - U'A';
  }
  return prefix == U"WAV" || prefix == U"BMP";
}

}  // namespace

std::vector<MediaLine> ListChartMedia(const std::string& path, const LoadOptions& options) {
  std::vector<MediaLine> lines;
  const std::string bytes = ReadFileBytes(path);
  if (bytes.empty()) return lines;
  const size_t slash = path.find_last_of("\\/");
  const std::string directory = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
  HeaderHooks hooks;
  if (!options.noWav) {
    hooks.onWav = [&](int, std::u32string_view name) {
      lines.push_back({MediaKind::kSound, directory + ToUtf8(name)});
    };
  }
  if (!options.noBga) {
    hooks.onBmp = [&](int, std::u32string_view name) {
      lines.push_back({MediaKind::kPicture, directory + ToUtf8(name)});
    };
  }
  ChartHeader header;
  if (options.modernReading) {
    auto data = std::make_unique<ModernData>();
    ForEachModernLine(DecodeModernChartBytes(bytes).text, [&](std::u32string_view line) {
      if (IsMediaLine(line)) ReadModernLine(line, header, *data, &hooks);
    });
  } else {
    ChartTables tables;
    tables.header = &header;
    ForEachChartLine(PrepareChartText(DecodeChartBytes(bytes)), [&](std::u32string_view line) {
      if (IsMediaLine(line)) ReadChartLine(line, tables, &hooks);
    });
  }
  return lines;
}

}  // namespace vremo
