// Rendering the demo song to a WAV file headless, as `vremo --render` does
// (target: at least 50 times faster than the song plays).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "shell/render_mode.h"

namespace vremo {
namespace {

void BM_RenderDemoSong(benchmark::State& state) {
  const auto out = std::filesystem::temp_directory_path() / ("vremo-bench-" + std::to_string(getpid()) + ".wav");
  RenderRequest request;
  request.output = out.string();
  request.chart = VREMO_SOURCE_DIR "/assets/demo/demo.bms";
  for (auto _ : state) {
    std::ostringstream log;
    std::ostringstream err;
    if (RunRender(request, log, err) != 0) state.SkipWithError(err.str().c_str());
  }
  // The song with its ringing tail, in seconds of sound per second of work.
  const double songSeconds = static_cast<double>(std::filesystem::file_size(out) - 44) / (44100.0 * 4);
  state.counters["songSeconds"] = songSeconds;
  state.counters["xRealTime"] =
      benchmark::Counter(songSeconds * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  std::filesystem::remove(out);
}
BENCHMARK(BM_RenderDemoSong)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vremo

BENCHMARK_MAIN();
