// Note positions and the mode bends.
#include "display/note_geometry.h"

#include "chart/numbers.h"

namespace vremo {

std::optional<int32_t> NoteY(double cur, double position, int32_t height, double hiSpeed) {
  return RoundToInt32(height + (cur - position) * hiSpeed);
}

BentY BendY(int32_t y, int32_t height, bool accel, bool nazo) {
  BentY bent{y, 0};
  if (y <= 0 || height == 0) return bent;
  const double h = height;
  if (accel) {
    const double squared = static_cast<double>(bent.y) * bent.y;
    if (auto value = RoundToInt32(squared / h)) bent.y = *value;
  }
  if (nazo) {
    if (auto n = RoundToInt32(bent.y / h * kNazoNarrowing - kNazoNarrowing)) bent.nazo = *n;
    // The product is taken in whole numbers before the division.
    const int64_t product = (int64_t{height} - bent.y) * bent.y * 2;
    if (auto value = RoundToInt32(h - static_cast<double>(product) / h)) bent.y = *value;
  }
  return bent;
}

Rect LaneImageRect(const LaneEntry& lane, const NoteImage& image, const BentY& bent, int32_t height, bool reverse) {
  Rect rect;
  rect.left = lane.x - bent.nazo;
  rect.top = reverse ? height - bent.y : bent.y + image.offsetY;
  rect.right = rect.left + image.width + 2 * bent.nazo;
  rect.bottom = rect.top + image.height;
  return rect;
}

}  // namespace vremo
