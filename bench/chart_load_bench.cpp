// Reading and compiling a chart of 10,000 objects, and one shaped like a large
// real chart (350 KB of CP932 text, 9,000 objects); target: under 2 ms each.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "chart/bms_reader.h"
#include "tools/big_chart/big_chart.h"

namespace vremo {
namespace {

// 50 measures x (8 lanes x 24 notes + a background line) + tempo changes and
// bar lines: 10,000 objects in all.
std::string GeneratedChart() {
  std::string text = "#TITLE Bench\r\n#ARTIST Vremo\r\n#BPM 150\r\n#PLAYLEVEL 7\r\n";
  for (int slot = 1; slot < 200; ++slot) {
    char line[32];
    std::snprintf(line, sizeof line, "#WAV%02X s%d.wav\r\n", slot, slot);
    text += line;
  }
  int objects = 0;
  for (int m = 0; m < 50; ++m) {
    for (int lane : {11, 12, 13, 14, 15, 16, 18, 19}) {
      char head[16];
      std::snprintf(head, sizeof head, "#%03d%02d:", m, lane);
      text += head;
      for (int i = 0; i < 24; ++i) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02X", 1 + (m * 7 + lane + i) % 199);
        text += pair;
      }
      text += "\r\n";
      objects += 24;
    }
    char line[64];
    std::snprintf(line, sizeof line, "#%03d01:01020304050607\r\n#%03d03:%02X\r\n", m, m, 120 + m);
    text += line;
    objects += 8;
  }
  objects += 50;  // bar lines
  text += std::string("#TOTAL 300\r\n");
  for (int m = 0; objects < 10000; ++m, ++objects) {
    char line[32];
    std::snprintf(line, sizeof line, "#%03d04:01\r\n", m % 50);
    text += line;
  }
  return text;
}

// Loads the chart written to a temporary file over and over, as the player's
// reload does: one Chart, the log going nowhere.
void LoadRepeatedly(benchmark::State& state, const std::string& bytes) {
  const auto path = std::filesystem::temp_directory_path() / ("vremo-bench-" + std::to_string(getpid()) + ".bms");
  std::ofstream(path, std::ios::binary) << bytes;
  auto chart = std::make_unique<Chart>();
  DebugLog log;  // no sink: the lines go nowhere
  NullMediaLoader media;
  LoadContext context{log, media, LoadOptions{}, {}};
  for (auto _ : state) {
    benchmark::DoNotOptimize(LoadChart(path.string(), *chart, context));
  }
  state.counters["objects"] = chart->objectCount;
  state.counters["bytes"] = static_cast<double>(bytes.size());
  std::filesystem::remove(path);
}

void BM_LoadChart10000Objects(benchmark::State& state) { LoadRepeatedly(state, GeneratedChart()); }
BENCHMARK(BM_LoadChart10000Objects)->Unit(benchmark::kMicrosecond);

void BM_LoadBigShiftJisChart(benchmark::State& state) { LoadRepeatedly(state, tools::BigChartBytes()); }
BENCHMARK(BM_LoadBigShiftJisChart)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vremo

BENCHMARK_MAIN();
