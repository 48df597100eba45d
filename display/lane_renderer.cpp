// The lanes: grid, bar lines, notes with the note options, record marks, and
// the pending-note rule that rides along with the note drawing.
#include "display/frame_renderer.h"

namespace vremo {
namespace {

// The grid has one line a beat.
constexpr int32_t kGridUnits = kUnitsPerMeasure / 4;
// The free lanes are drawn whatever the note options say.
constexpr int32_t kSide1FreeLane = 17;
constexpr int32_t kSide2FreeLane = 27;

bool IsFreeLane(int32_t channel) { return channel == kSide1FreeLane || channel == kSide2FreeLane; }

}  // namespace

bool FrameRenderer::LaneRect(const Frame& frame, int32_t lane, int32_t y, Rect& rect) const {
  const NoteImage* image = layout_.ImageOfLane(lane);
  return image != nullptr && LaneRect(frame, lane, y, *image, rect);
}

bool FrameRenderer::LaneRect(const Frame& frame, int32_t lane, int32_t y, const NoteImage& image, Rect& rect) const {
  const LaneEntry* entry = layout_.Lane(lane);
  if (entry == nullptr) return false;
  const Settings& settings = engine_.settings();
  const BentY bent = BendY(y, frame.height, settings.accel, settings.nazo);
  rect = LaneImageRect(*entry, image, bent, frame.height, settings.reverse);
  return true;
}

void FrameRenderer::DrawLaneImage(const Frame& frame, int32_t lane, int32_t y) {
  const NoteImage* image = layout_.ImageOfLane(lane);
  if (image != nullptr) DrawLanePicture(frame, lane, y, *image);
}

void FrameRenderer::DrawLanePicture(const Frame& frame, int32_t lane, int32_t y, const NoteImage& image) {
  Rect rect;
  if (frame.skin == nullptr || !LaneRect(frame, lane, y, image, rect)) return;
  if (rect.Width() == image.source.Width() && rect.Height() == image.source.Height()) {
    frame.back->BltFast(rect.left, rect.top, *frame.skin, image.source, ColourKey::kSource);
  } else {
    frame.back->Blt(rect, *frame.skin, image.source, ColourKey::kSource);
  }
}

bool FrameRenderer::NoteHidden(const Frame& frame, int32_t y) const {
  const Settings& settings = engine_.settings();
  const int32_t above = frame.height - y;
  return (settings.hidden && above < kHiddenLimit) || settings.stealth || (settings.sudden && above > kSuddenLimit);
}

void FrameRenderer::DrawGrid(const Frame& frame) {
  for (int32_t i = 0; i <= frame.height / kGridUnits; ++i) {
    const auto y = NoteY(0.0, i * kGridUnits, frame.height, frame.hiSpeed);
    if (!y) continue;
    for (int32_t side = 0; side < kSideCount; ++side) {
      if (frame.sides[static_cast<size_t>(side)]) DrawLaneImage(frame, kSidePseudoLane[static_cast<size_t>(side)], *y);
    }
  }
}

void FrameRenderer::DrawObjects(const Frame& frame, int32_t firstIndex) {
  const Chart& chart = engine_.chart();
  const double visibleEnd = frame.cur + frame.height / frame.hiSpeed;
  if (chart.modern) DrawLongBodies(frame, firstIndex);
  for (int32_t i = firstIndex; i < chart.objectCount && chart.objects[i].y < visibleEnd; ++i) {
    const ChartObject& object = chart.objects[i];
    const auto y = NoteY(frame.cur, object.y, frame.height, frame.hiSpeed);
    if (!y || *y <= 0) continue;
    const int32_t channel = object.channel;
    if (channel == kChannelBarLine) {
      for (int32_t side = 0; side < kSideCount; ++side) {
        if (frame.sides[static_cast<size_t>(side)])
          DrawLaneImage(frame, kSidePseudoLane[static_cast<size_t>(side)], *y);
      }
    } else if (IsFreeLane(channel)) {
      DrawLaneImage(frame, channel, *y);
    } else if (IsPlayableChannel(channel)) {
      engine_.ConsiderPendingNote(i, *y);
      if (NoteHidden(frame, *y)) continue;
      if (chart.modern && object.kind != NoteKind::kNote) {
        DrawLongEnd(frame, i, *y);
      } else {
        DrawLaneImage(frame, channel, *y);
      }
    } else if (chart.modern && IsPlayableChannel(channel - kMineChannelOffset)) {
      if (!NoteHidden(frame, *y)) DrawMine(frame, channel - kMineChannelOffset, *y);
    }
  }
}

void FrameRenderer::DrawRecordMarks(const Frame& frame) {
  const PlayRecord& record = engine_.record();
  const int32_t count = record.StoredCount();
  // Entries are in press order; a seek backwards starts the search over.
  if (recordStart_ > count) recordStart_ = 0;
  while (recordStart_ > 0 && record.Entry(recordStart_ - 1).position >= frame.cur) --recordStart_;
  while (recordStart_ < count && record.Entry(recordStart_).position < frame.cur) ++recordStart_;
  const double visibleEnd = frame.cur + frame.height / frame.hiSpeed;
  Surface& back = *frame.back;
  const Colour foreColour = back.foreColor();
  back.SetFillStyle(FillStyle::kTransparent);
  for (int32_t i = recordStart_; i < count && record.Entry(i).position < visibleEnd; ++i) {
    const PlayRecordEntry& entry = record.Entry(i);
    const auto y = NoteY(frame.cur, entry.position, frame.height, frame.hiSpeed);
    Rect rect;
    if (IsRelease(entry) || !y || *y <= 0 || !LaneRect(frame, entry.channel, *y, rect)) continue;
    back.SetForeColor(FromBgr(entry.colour));
    back.DrawBox(rect.left, rect.top, rect.right, rect.bottom);
  }
  // The message drawn later keeps its own colour.
  back.SetForeColor(foreColour);
}

}  // namespace vremo
