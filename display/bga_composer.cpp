// Composing the BGA work surface.
#include "display/bga_composer.h"

#include "display/layout.h"

namespace vremo {
namespace {

void DrawPicture(Surface& work, const Rect& area, const PictureSlots& pictureSlots, const Chart& chart, int32_t slot,
                 ColourKey key) {
  const Surface* picture = pictureSlots.Picture(slot);
  if (picture == nullptr) return;
  const Rect size = PictureSize(chart, slot, *picture);
  // Centred across the square, from its top, then the square to the area.
  const int64_t left = (kBgaSquare - size.Width()) / 2;
  const int64_t width = area.Width();
  const int64_t height = area.Height();
  const Rect dest{area.left + static_cast<int32_t>(left * width / kBgaSquare), area.top,
                  area.left + static_cast<int32_t>((left + size.Width()) * width / kBgaSquare),
                  area.top + static_cast<int32_t>(int64_t{size.Height()} * height / kBgaSquare)};
  work.Blt(dest, *picture, size, key);
}

}  // namespace

Rect PictureSize(const Chart& chart, int32_t slot, const Surface& picture) {
  if (slot < 0 || slot >= kMaxMediaSlots) return picture.FullRect();
  const PictureRect& rect = chart.pictureRect[static_cast<size_t>(slot)];
  if (rect.width <= 0 && rect.height <= 0) return picture.FullRect();
  return Rect{0, 0, rect.width, rect.height};
}

void ComposeBga(Surface& work, const Rect& area, const PictureSlots& pictureSlots, const Chart& chart,
                const BgaPictures& pictures) {
  work.BltColorFill(area, kBlack);
  if (pictures.showMiss && pictureSlots.Picture(pictures.miss) != nullptr) {
    DrawPicture(work, area, pictureSlots, chart, pictures.miss, ColourKey::kNone);
    return;
  }
  DrawPicture(work, area, pictureSlots, chart, pictures.base, ColourKey::kNone);
  DrawPicture(work, area, pictureSlots, chart, pictures.layer, ColourKey::kSource);
}

}  // namespace vremo
