// RunSnapshot: load, play up to the position on a virtual clock, draw, save.
#include "display/snapshot.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "chart/bms_reader.h"
#include "display/frame_renderer.h"
#include "display/layout.h"
#include "display/media_layer.h"
#include "play/headless_play.h"

namespace vremo {
namespace {

// Between two steps only the judge rules run; the real frame is drawn once,
// at the end.
class JudgeOnlyDrawer : public FrameDrawer {
 public:
  JudgeOnlyDrawer(PlayEngine& engine, int32_t height) : engine_(engine), height_(height) {}
  void DrawFrame(int32_t nextObjectIndex) override { engine_.RunJudgeBookkeeping(nextObjectIndex, height_); }
  void DrawSoundOverview(const SoundOverview&) override {}

 private:
  PlayEngine& engine_;
  int32_t height_;
};

}  // namespace

SnapshotScene::SnapshotScene(DebugLog& log, const Settings& settings, int32_t width, int32_t height)
    : log_(log),
      settings_(settings),
      chart_(std::make_unique<Chart>()),
      media_(log),
      layoutContext_{log, media_, {}, {}},
      engine_(*chart_, settings_, sounds_, clock_, log, host_),
      renderer_(engine_, media_, layout_, sounds_) {
  EnsureGuiApplication();
  media_.display().width = width;
  media_.display().height = height;
  media_.InitDirectDraw();
}

SnapshotScene::~SnapshotScene() = default;

void SnapshotScene::LoadLayout(const std::string& path) {
  LoadRect(path, layout_, layoutContext_);
  // The layout first, so that the BGA work surface gets the layout's size.
  DispResize(media_.display().width, media_.display().height, layout_, layoutContext_);
}

int32_t SnapshotScene::LoadChart(const std::string& path, std::optional<uint32_t> seed) {
  LoadOptions options{true, settings_.noBga, settings_.realHiSpeed, settings_.modernReading, seed};
  LoadContext context{log_, media_, options, [this] {
                        layoutContext_.sides = SideSwitchesOf(*chart_);
                        LoadRect(layout_.path, layout_, layoutContext_);
                      }};
  return vremo::LoadChart(path, *chart_, context);
}

void SnapshotScene::PlayTo(int32_t position) {
  JudgeOnlyDrawer judgeOnly(engine_, media_.display().height);
  engine_.SetFrameDrawer(&judgeOnly);
  int32_t start = 0;
  engine_.SetPlayPosition(start, true);
  engine_.StartPlay();
  const int32_t startTick = clock_.TickCount();
  int32_t lastTimerTick = startTick;
  const double speed = settings_.realHiSpeed > 0.0f ? settings_.realHiSpeed : 1.0;
  const double limitMs = std::max(chart_->lengthMs, 0) / speed + kHeadlessTimeMarginMs;
  for (;;) {
    engine_.StepFrame();
    const PlayState& state = engine_.state();
    if (state.currentPosition >= position || state.nextObject >= chart_->objectCount) break;
    if (TicksBetween(clock_.TickCount(), startTick) > limitMs) break;
    if (TicksBetween(clock_.TickCount(), lastTimerTick) >= kPlayTimerPeriodMs) {
      lastTimerTick = clock_.TickCount();
      engine_.PlayTimerProc();
    }
    // Never sleep past the first millisecond that reaches the position.
    int32_t sleep = std::max(settings_.sleepMs, kMinimumSleepMs);
    const double remaining = std::ceil(engine_.ClockTimeOf(position)) - clock_.TickCount();
    if (remaining >= kMinimumSleepMs && remaining < sleep) sleep = static_cast<int32_t>(remaining);
    clock_.Advance(sleep);
  }
  engine_.SetFrameDrawer(&renderer_);
}

void SnapshotScene::Draw() { renderer_.DrawFrame(engine_.state().nextObject); }

const Surface* SnapshotScene::frame() const { return media_.back(); }

SnapshotResult RunSnapshot(const SnapshotRequest& request, DebugLog& log, std::ostream& err) {
  if (request.width < 1 || request.height < 1 || request.width > kMaxSnapshotSide ||
      request.height > kMaxSnapshotSide || int64_t{request.width} * request.height > kMaxSnapshotPixels) {
    err << "vremo: the snapshot size must be 1 to " << kMaxSnapshotSide << " pixels each way and at most "
        << kMaxSnapshotPixels << " pixels in all (" << kMaxSnapshotSide << "x" << kMaxSnapshotPixels / kMaxSnapshotSide
        << ")\n";
    return SnapshotResult::kBadRequest;
  }
  Settings settings;
  settings.demoMode = true;
  settings.userPlay = true;
  for (const std::string& option : request.options) {
    if (!SetOptionText(settings, option)) {
      err << "vremo: not an option or not a value for it: " << option << '\n';
      return SnapshotResult::kBadRequest;
    }
  }
  settings.noWav = true;

  auto scene = std::make_unique<SnapshotScene>(log, settings, request.width, request.height);
  scene->LoadLayout(request.layoutPath);
  const int32_t loaded = scene->LoadChart(request.chartPath, request.seed);
  if (loaded == kLoadMissing) {
    err << "vremo: no such chart: " << request.chartPath << '\n';
    return SnapshotResult::kChartMissing;
  }
  if (loaded == kLoadNoObject) {
    err << "vremo: the chart holds no object: " << request.chartPath << '\n';
    return SnapshotResult::kNoObject;
  }
  scene->PlayTo(std::max(request.position, 0));
  scene->Draw();
  const Surface* frame = scene->frame();
  if (frame == nullptr || !frame->SavePng(request.outputPath)) {
    err << "vremo: cannot write " << request.outputPath << '\n';
    return SnapshotResult::kWriteFailed;
  }
  return SnapshotResult::kWritten;
}

}  // namespace vremo
