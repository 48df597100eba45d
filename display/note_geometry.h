#pragma once
// Where a chart object appears on the play field: its y from the scroll
// position and HiSpeed (the judgement line is the bottom edge, y = H), the
// Accel and Nazo bends of that y, and the rectangle of a lane image at it
// (Nazo narrowing, Reverse). Pure functions; the frame renderer's notes, bar
// lines, grid and record marks all go through them. Any thread.

#include <cstdint>
#include <optional>

#include "display/layout.h"
#include "display/surface.h"

namespace vremo {

// Nazo bends the lane by up to this many pixels on each side at the top.
inline constexpr int32_t kNazoNarrowing = 12;
// Hidden hides notes closer to the line than this; Sudden hides notes
// farther than the other limit (they differ on purpose).
inline constexpr int32_t kHiddenLimit = 120;
inline constexpr int32_t kSuddenLimit = 124;

// y = round(H + (cur - position) x HiSpeed), halves to even; empty when it
// does not fit 32 bits.
std::optional<int32_t> NoteY(double cur, double position, int32_t height, double hiSpeed);

struct BentY {
  int32_t y = 0;
  int32_t nazo = 0;  // negative: the image is narrowed by this on each side
};

// Accel (y = y^2 / H), then Nazo (from the line up to the middle and back),
// each rounded; y <= 0 is left alone.
BentY BendY(int32_t y, int32_t height, bool accel, bool nazo);

// The image's rectangle on the drawing surface: bottom on y, or top at
// H - y with Reverse; left = lane x - nazo, right = left + width + 2 nazo.
Rect LaneImageRect(const LaneEntry& lane, const NoteImage& image, const BentY& bent, int32_t height, bool reverse);

}  // namespace vremo
