// One frame of the demo song at 640 x 480 with its BGA, in a dense passage
// (target: under 1 ms).
#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <string>

#include "display/snapshot.h"

namespace vremo {
namespace {

// Measures 26 to 28 hold the song's densest notes.
constexpr int32_t kDensePosition = 26 * kUnitsPerMeasure;

const std::filesystem::path kAssets = std::filesystem::path(__FILE__).parent_path().parent_path() / "assets";

std::unique_ptr<SnapshotScene> DemoScene(DebugLog& log, bool guides) {
  Settings settings;
  settings.demoMode = true;
  settings.userPlay = true;
  settings.showVLine = guides;
  auto scene = std::make_unique<SnapshotScene>(log, settings, kFullScreenWidth, kFullScreenHeight);
  scene->LoadLayout((kAssets / "default.vrd").string());
  scene->LoadChart((kAssets / "demo" / "demo.bms").string());
  scene->PlayTo(kDensePosition);
  return scene;
}

void DrawFrame(benchmark::State& state, bool guides, bool recompose) {
  DebugLog log;  // no sink: the lines go nowhere
  std::unique_ptr<SnapshotScene> scene = DemoScene(log, guides);
  for (auto _ : state) {
    if (recompose) scene->renderer().RequestBgaRefresh();
    scene->Draw();
    benchmark::DoNotOptimize(scene->frame()->Pixel(0, 0));
  }
}

void BM_DrawFrame(benchmark::State& state) { DrawFrame(state, false, false); }
void BM_DrawFrameWithGuides(benchmark::State& state) { DrawFrame(state, true, false); }
void BM_DrawFrameComposingBga(benchmark::State& state) { DrawFrame(state, true, true); }

BENCHMARK(BM_DrawFrame)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_DrawFrameWithGuides)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_DrawFrameComposingBga)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace
}  // namespace vremo

BENCHMARK_MAIN();
