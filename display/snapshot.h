#pragma once
// One frame of a chart as a picture file, for the tool mode
//   vremo --snapshot OUT.png [--at POSITION] [--size WxH] [--layout FILE]
//         [--option NAME=VALUE]... CHART
// The chart is loaded with its pictures and without sounds, played
// automatically from the start on a virtual clock up to POSITION (so the
// judgements, gauge and combo are those of a real automatic play), and the
// frame at that moment is drawn with the layout and written as a PNG
// (replacing OUT.png whole or not at all). Main thread.

#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "chart/chart.h"
#include "chart/debug_log.h"
#include "display/display_size.h"
#include "display/frame_renderer.h"
#include "display/layout.h"
#include "display/media_layer.h"
#include "play/clock.h"
#include "play/headless_play.h"
#include "play/play_engine.h"
#include "play/settings.h"

namespace vremo {

inline constexpr int32_t kMaxSnapshotSide = 8192;
// The drawing area's two surfaces (back and guide) may take half the surface
// budget; the other half stays for the skin, the BGA and the chart's
// pictures. 8192 x 4096 at most.
inline constexpr int64_t kMaxSnapshotPixels = kVideoMemoryBudget / 2 / (2 * kSurfaceBytesPerPixel);

struct SnapshotRequest {
  std::string chartPath;
  std::string outputPath;
  std::string layoutPath;  // the caller's default is assets/default.vrd
  int32_t position = 0;    // chart position, 192 a measure; below 0 counts as 0
  int32_t width = kFullScreenWidth;
  int32_t height = kFullScreenHeight;
  // Settings as "NAME=VALUE" (play/settings.h), applied over DEMOMode and
  // UserPlay switched on.
  std::vector<std::string> options;
  std::optional<uint32_t> seed;  // random blocks of the modern reading
};

enum class SnapshotResult {
  kWritten,
  kBadRequest,    // size out of 1..kMaxSnapshotSide or over kMaxSnapshotPixels, or an option that does not apply
  kChartMissing,  // the chart file does not exist
  kNoObject,      // the chart holds no object
  kWriteFailed,   // the picture could not be written
};

// The whole pipeline of a snapshot, in steps, for the tool mode, tests and
// benchmarks: a media layer of the given size, a layout, a chart loaded with
// pictures and no sounds, a play engine on a virtual clock and a renderer.
class SnapshotScene {
 public:
  SnapshotScene(DebugLog& log, const Settings& settings, int32_t width, int32_t height);
  ~SnapshotScene();

  // LoadRect, then DispResize to the scene's size.
  void LoadLayout(const std::string& path);
  // LoadChart's result; the layout is reloaded for the chart's sides.
  int32_t LoadChart(const std::string& path, std::optional<uint32_t> seed = std::nullopt);
  // Plays from the start, automatically (DEMOMode), until the first clock
  // millisecond at which the play reaches `position` or the objects run
  // out. The play timer runs every 10 virtual milliseconds and the judge
  // rules at every step, as in a live play.
  void PlayTo(int32_t position);
  // Draws the frame of the current position onto the back surface.
  void Draw();

  const Surface* frame() const;
  Chart& chart() { return *chart_; }
  Settings& settings() { return settings_; }
  Layout& layout() { return layout_; }
  MediaLayer& media() { return media_; }
  VirtualClock& clock() { return clock_; }
  PlayEngine& engine() { return engine_; }
  FrameRenderer& renderer() { return renderer_; }

 private:
  DebugLog& log_;
  Settings settings_;
  std::unique_ptr<Chart> chart_;
  MediaLayer media_;
  Layout layout_;
  LayoutContext layoutContext_;
  VirtualClock clock_;
  SilentSoundBank sounds_;
  PlayHost host_;
  PlayEngine engine_;
  FrameRenderer renderer_;
};

// Loads, plays and draws as described above. The load's and the play's log
// lines go to `log`; a one-line reason for every result but kWritten goes
// to `err`.
SnapshotResult RunSnapshot(const SnapshotRequest& request, DebugLog& log, std::ostream& err);

}  // namespace vremo
