// What only modern charts put into the lanes: long notes (a body between
// head and tail, the held one shortened to the judgement line) and
// landmines. Classic charts never reach this file.
#include <algorithm>

#include "chart/long_note_pairs.h"
#include "display/frame_renderer.h"

namespace vremo {
namespace {

// The body's fallback colours are the note picture's at this fraction.
constexpr uint32_t kBodyShadeDivisor = 2;
constexpr Colour kMineCoreColour = kBlack;
constexpr int32_t kMineRimPixels = 1;

Colour Darker(Colour colour) {
  const uint32_t r = (colour >> 16) & 0xFF;
  const uint32_t g = (colour >> 8) & 0xFF;
  const uint32_t b = colour & 0xFF;
  return Rgb(r / kBodyShadeDivisor, g / kBodyShadeDivisor, b / kBodyShadeDivisor);
}

// The untransformed y of a position, held to the drawing area: a body never
// shows past the top edge or below the line.
int32_t ClampedY(double cur, double position, int32_t height, double hiSpeed) {
  const double raw = height + (cur - position) * hiSpeed;
  if (!(raw > 0.0)) return 0;
  if (raw >= height) return height;
  return NoteY(cur, position, height, hiSpeed).value_or(0);
}

}  // namespace

void FrameRenderer::DrawLongBodies(const Frame& frame, int32_t firstIndex) {
  const Chart& chart = engine_.chart();
  const std::array<int32_t, kLaneChannelCount>& held = engine_.state().laneHeldLong;
  // A held note whose head is already out of the object window still shows
  // its body; one whose tail is in it is drawn below with the visible tails.
  const double visibleEnd = frame.cur + frame.height / frame.hiSpeed;
  int32_t end = firstIndex;
  while (end < chart.objectCount && chart.objects[end].y < visibleEnd) ++end;
  for (const int32_t head : held) {
    if (head < 0 || head >= firstIndex || chart.objects[head].kind != NoteKind::kLongHead) continue;
    const int32_t tail = LongNoteTail(chart, head);
    if (tail >= end) DrawLongBody(frame, head, tail);
  }
  for (int32_t i = firstIndex; i < end; ++i) {
    const ChartObject& object = chart.objects[i];
    if (object.channel < kFirstLaneChannel || object.channel > kLastLaneChannel) continue;
    if (object.kind == NoteKind::kLongHead) {
      DrawLongBody(frame, i, LongNoteTail(chart, i));
    } else if (object.kind == NoteKind::kLongTail) {
      // Heads before the window are found through their tails.
      const int32_t head = LongNoteHead(chart, i);
      if (head >= 0 && head < firstIndex) DrawLongBody(frame, head, i);
    }
  }
}

void FrameRenderer::DrawLongBody(const Frame& frame, int32_t head, int32_t tail) {
  if (tail < 0 || frame.skin == nullptr) return;
  const Chart& chart = engine_.chart();
  const int32_t lane = chart.objects[head].channel;
  if (lane < kFirstLaneChannel || lane > kLastLaneChannel) return;
  const LaneEntry* entry = layout_.Lane(lane);
  const NoteImage* note = layout_.ImageOfLane(lane);
  if (entry == nullptr || note == nullptr) return;
  const Settings& settings = engine_.settings();
  if (settings.stealth) return;
  const int32_t height = frame.height;
  const bool held = engine_.state().laneHeldLong[static_cast<size_t>(lane - kFirstLaneChannel)] == head;
  // From the tail's foot down to the head's foot, or to the line while the
  // note is held; the note options keep the part where a note would show.
  int32_t top = ClampedY(frame.cur, chart.objects[tail].y, height, frame.hiSpeed);
  int32_t bottom = held ? height : ClampedY(frame.cur, chart.objects[head].y, height, frame.hiSpeed);
  if (settings.hidden) bottom = std::min(bottom, height - kHiddenLimit);
  if (settings.sudden) top = std::max(top, height - kSuddenLimit);
  if (top >= bottom) return;

  const BentY far = BendY(top, height, settings.accel, settings.nazo);
  const BentY near = BendY(bottom, height, settings.accel, settings.nazo);
  const NoteImage* named = layout_.NamedOfLane(layout_.modern.longBodies, lane);
  const NoteImage& image = named != nullptr ? *named : *note;
  Rect rect;
  rect.left = entry->x - near.nazo;
  rect.right = rect.left + image.width + 2 * near.nazo;
  const int32_t upper = std::min(far.y, near.y);
  const int32_t lower = std::max(far.y, near.y);
  rect.top = settings.reverse ? height - lower : upper;
  rect.bottom = settings.reverse ? height - upper : lower;
  if (rect.Empty()) return;
  if (named != nullptr) {
    frame.back->Blt(rect, *frame.skin, image.source, ColourKey::kSource);
  } else {
    FillShadedBody(frame, rect, image);
  }
}

// Each column of the body takes the darker colour of the note picture's
// middle row at that column (stretched to the body's width).
void FrameRenderer::FillShadedBody(const Frame& frame, const Rect& rect, const NoteImage& image) {
  const Rect& source = image.source;
  if (source.Width() <= 0 || source.Height() <= 0) return;
  const int32_t row = source.top + source.Height() / 2;
  const int32_t first = std::max(rect.left, 0);
  const int32_t last = std::min(rect.right, frame.back->width());
  for (int32_t x = first; x < last; ++x) {
    const int64_t offset = int64_t{x - rect.left} * source.Width() / rect.Width();
    const Colour colour = frame.skin->Pixel(source.left + static_cast<int32_t>(offset), row);
    if (colour == kBlack) continue;  // transparent in the picture
    frame.back->BltColorFill(Rect{x, rect.top, x + 1, rect.bottom}, Darker(colour));
  }
}

void FrameRenderer::DrawLongEnd(const Frame& frame, int32_t index, int32_t y) {
  const ChartObject& object = engine_.chart().objects[index];
  const int32_t lane = object.channel;
  const bool head = object.kind == NoteKind::kLongHead;
  // The held note's head has gone into the line.
  if (head && engine_.state().laneHeldLong[static_cast<size_t>(lane - kFirstLaneChannel)] == index) return;
  const ModernImages& modern = layout_.modern;
  const NoteImage* named = layout_.NamedOfLane(head ? modern.longHeads : modern.longTails, lane);
  if (named != nullptr) {
    DrawLanePicture(frame, lane, y, *named);
  } else {
    DrawLaneImage(frame, lane, y);
  }
}

void FrameRenderer::DrawMine(const Frame& frame, int32_t lane, int32_t y) {
  const NoteImage* named = layout_.NamedOfLane(layout_.modern.mines, lane);
  if (named != nullptr) {
    DrawLanePicture(frame, lane, y, *named);
    return;
  }
  Rect rect;
  if (!LaneRect(frame, lane, y, rect) || rect.Empty()) return;
  frame.back->BltColorFill(rect, kMineFallbackColour);
  const Rect core{rect.left + kMineRimPixels, rect.top + kMineRimPixels, rect.right - kMineRimPixels,
                  rect.bottom - kMineRimPixels};
  if (!core.Empty()) frame.back->BltColorFill(core, kMineCoreColour);
}

}  // namespace vremo
