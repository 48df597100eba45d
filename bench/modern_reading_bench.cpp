// The modern reading of a 50,000-object chart with random blocks and stops,
// against the classic reading of the same file (target: within 1.5x). The
// classic table holds 10,001 objects, so the same pair runs on a chart of
// 10,000 objects too, which both readings take whole.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "chart/bms_reader.h"

namespace vremo {
namespace {

constexpr int kMeasuresFor50000 = 500;
constexpr int kMeasuresFor10000 = 100;
constexpr int kPairsPerLane = 12;
constexpr uint32_t kSeed = 14;

// 500 measures x (8 lanes x 12 notes + 4 background sounds) = 50,000
// objects, plus a stop, a tempo change and a two-way random block every
// fifth measure.
std::string GeneratedChart(int measures) {
  std::string text = "#TITLE Bench\r\n#ARTIST Vremo\r\n#BPM 150.5\r\n#STOP01 48\r\n#BPM01 174.25\r\n";
  for (int slot = 1; slot < 200; ++slot) {
    char line[32];
    std::snprintf(line, sizeof line, "#WAV%02X s%d.wav\r\n", slot, slot);
    text += line;
  }
  char line[64];
  for (int m = 0; m < measures; ++m) {
    for (int lane : {11, 12, 13, 14, 15, 16, 18, 19}) {
      std::snprintf(line, sizeof line, "#%03d%02d:", m, lane);
      text += line;
      for (int i = 0; i < kPairsPerLane; ++i) {
        std::snprintf(line, sizeof line, "%02X", 1 + (m * 7 + lane + i) % 199);
        text += line;
      }
      text += "\r\n";
    }
    std::snprintf(line, sizeof line, "#%03d01:01020304\r\n", m);
    text += line;
    if (m % 5 != 0) continue;
    std::snprintf(line, sizeof line, "#%03d09:0001\r\n#%03d08:01\r\n", m, m);
    text += line;
    std::snprintf(line, sizeof line, "#RANDOM 2\r\n#IF 1\r\n#%03d21:0101\r\n#ELSE\r\n", m);
    text += line;
    std::snprintf(line, sizeof line, "#%03d22:0101\r\n#ENDIF\r\n#ENDRANDOM\r\n", m);
    text += line;
  }
  return text;
}

void LoadBench(benchmark::State& state, bool modern) {
  const int measures = static_cast<int>(state.range(0));
  const auto path = std::filesystem::temp_directory_path() / ("vremo-modern-" + std::to_string(getpid()) + ".bms");
  std::ofstream(path, std::ios::binary) << GeneratedChart(measures);
  auto chart = std::make_unique<Chart>();
  DebugLog log;  // no sink: the lines go nowhere
  NullMediaLoader media;
  LoadOptions options;
  options.modernReading = modern;
  options.seed = kSeed;
  LoadContext context{log, media, options, {}};
  for (auto _ : state) {
    benchmark::DoNotOptimize(LoadChart(path.string(), *chart, context));
  }
  state.counters["tableObjects"] = chart->objectCount;
  std::filesystem::remove(path);
}

void BM_ModernReading(benchmark::State& state) { LoadBench(state, true); }
void BM_ClassicReading(benchmark::State& state) { LoadBench(state, false); }
BENCHMARK(BM_ModernReading)->Arg(kMeasuresFor50000)->Arg(kMeasuresFor10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ClassicReading)->Arg(kMeasuresFor50000)->Arg(kMeasuresFor10000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vremo

BENCHMARK_MAIN();
