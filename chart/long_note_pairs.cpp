// Pairing long-note ends along a lane.
#include "chart/long_note_pairs.h"

namespace vremo {
namespace {

// The next long-note end of the lane of `from`, walking by `step`; the
// index when it has the wanted kind, else -1.
int32_t NextEnd(const Chart& chart, int32_t from, int32_t step, NoteKind wanted) {
  if (from < 0 || from >= chart.objectCount) return -1;
  const int32_t channel = chart.objects[from].channel;
  for (int32_t i = from + step; i >= 0 && i < chart.objectCount; i += step) {
    const ChartObject& object = chart.objects[i];
    if (object.channel != channel || object.kind == NoteKind::kNote) continue;
    return object.kind == wanted ? i : -1;
  }
  return -1;
}

}  // namespace

int32_t LongNoteTail(const Chart& chart, int32_t head) { return NextEnd(chart, head, 1, NoteKind::kLongTail); }

int32_t LongNoteHead(const Chart& chart, int32_t tail) { return NextEnd(chart, tail, -1, NoteKind::kLongHead); }

}  // namespace vremo
