// What every layout load builds after its lines: the font table, the guide
// surface and the gauge strips.
#include "display/layout.h"
#include "display/media_layer.h"

namespace vremo {
namespace {

void DrawGuideLane(Surface& guide, const Layout& layout, int32_t lane, int32_t height) {
  const LaneEntry* entry = layout.Lane(lane);
  const NoteImage* image = layout.ImageOfLane(lane);
  if (entry == nullptr || image == nullptr) return;
  const int32_t x = entry->x;
  const int32_t w = image->width;
  guide.SetForeColor(kGuideLineColour);
  switch (entry->style) {
    case kGuideLeftLine:
      guide.DrawLine(x - 1, 0, x - 1, height);
      break;
    case kGuideRightLine:
      guide.DrawLine(x + w - 1, 0, x + w - 1, height);
      break;
    case kGuideHatchedLane: {
      guide.SetFillColor(kGuideHatchColour);
      guide.SetFillStyle(FillStyle::kDiagonalCross);
      guide.DrawBox(x, 0, x + w, height);
      // The red foot always takes the height of the first lane's note, on
      // both sides.
      const NoteImage* first = layout.ImageOfLane(kFirstLaneChannel);
      const int32_t foot = first != nullptr ? first->height : 0;
      guide.SetForeColor(kGuideFootColour);
      guide.SetFillColor(kGuideFootColour);
      guide.SetFillStyle(FillStyle::kSolid);
      guide.DrawBox(x, height - foot, x + w - 1, height);
      break;
    }
    default:
      break;
  }
}

}  // namespace

void BuildFontTable(Layout& layout) {
  for (int32_t code = kFontFirstCode; code <= kFontLastCode; ++code) {
    // Codes that are multiples of 32 land one cell left of their row.
    Rect& cell = layout.font[static_cast<size_t>(code - kFontFirstCode)];
    cell.left = (code % kFontCodesPerRow - 1) * kFontCellWidth;
    cell.top = code / kFontCodesPerRow * kFontCellHeight + kFontTopOffset;
    cell.right = cell.left + kFontCellWidth;
    cell.bottom = cell.top + kFontCellHeight;
  }
}

void MakeGuideSurface(const Layout& layout, LayoutContext& context) {
  MediaLayer& media = context.media;
  const DisplaySize& size = media.display();
  std::unique_ptr<Surface> guide = media.memory().Create(size.width, size.height);
  if (guide == nullptr) return;
  guide->BltColorFill(guide->FullRect(), kBlack);
  guide->SetColorKey(kBlack);
  for (int32_t lane = kGuideFirstLane; lane <= kGuideLastLane; ++lane) {
    const int32_t side = lane < kSidePseudoLane[1] ? 0 : 1;
    if (context.sides[static_cast<size_t>(side)]) DrawGuideLane(*guide, layout, lane, size.height);
  }
  media.SetGuide(std::move(guide));
}

void SetGaugeStrips(Layout& layout) { layout.gaugeStrips = {kGaugeStripEmpty, kGaugeStripFull}; }

}  // namespace vremo
