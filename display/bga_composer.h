#pragma once
// The BGA composer: redraws the BGA work surface from the picture pictureSlots the
// play shows now. The base picture (channel 04) is drawn whole, the layer
// picture (channel 07) over it with black transparent; while a miss is shown
// the poor picture (channel 06) replaces both. A picture sits centred in a
// 256-pixel square, which is scaled onto the BGA box. The frame renderer
// calls it when a picture changed. UI thread only.

#include <cstdint>

#include "chart/chart.h"
#include "display/picture_file.h"
#include "display/surface.h"

namespace vremo {

struct BgaPictures {
  int32_t base = -1;  // slot, or negative for none
  int32_t layer = -1;
  int32_t miss = 0;
  bool showMiss = false;
};

// The picture's size as the chart recorded it; a size of 0 x 0 (a BMP file
// read before any measured picture) means the whole picture.
Rect PictureSize(const Chart& chart, int32_t slot, const Surface& picture);

// Clears `area` of the work surface and draws the pictures into it.
void ComposeBga(Surface& work, const Rect& area, const PictureSlots& pictureSlots, const Chart& chart,
                const BgaPictures& pictures);

}  // namespace vremo
