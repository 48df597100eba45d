#pragma once
// What the play engine asks of the screen: one frame for the current play
// position, and the sound overview shown while the player waits for the last
// sounds to die out. The frame renderer implements it; NullFrameDrawer draws
// nothing (tests, tool modes). Called on the UI thread from inside a play pass.

#include <array>
#include <cstdint>

#include "chart/chart.h"

namespace vremo {

// The overview is a 16 x 16 grid of 16-pixel cells, slot s at column s mod 16
// and row s div 16.
inline constexpr int32_t kOverviewCellPixels = 16;
inline constexpr int32_t kOverviewColumns = 16;

struct SoundOverview {
  // Bar width in pixels (play cursor / length x 16) of every sounding slot;
  // negative for a slot that is silent or empty.
  std::array<double, kMediaSlots> barWidth{};
  int32_t soundingCount = 0;
};

class FrameDrawer {
 public:
  virtual ~FrameDrawer() = default;
  // Draws the frame whose objects start at nextObjectIndex (the first object
  // not yet fired).
  virtual void DrawFrame(int32_t nextObjectIndex) = 0;
  virtual void DrawSoundOverview(const SoundOverview& overview) = 0;
};

class NullFrameDrawer : public FrameDrawer {
 public:
  void DrawFrame(int32_t) override {}
  void DrawSoundOverview(const SoundOverview&) override {}
};

}  // namespace vremo
