#pragma once
// Which long-note ends belong together in the sorted object table: a head's
// tail is the next long-note end of its lane when that end is a tail (plain
// notes in between are passed over); a tail's head likewise backwards. The
// play engine and the renderer pair ends the same way through these. Any
// thread that reads the Chart.

#include <cstdint>

#include "chart/chart.h"

namespace vremo {

// The index of the head's tail, or -1 (no tail, or not a valid index).
int32_t LongNoteTail(const Chart& chart, int32_t head);
// The index of the tail's head, or -1.
int32_t LongNoteHead(const Chart& chart, int32_t tail);

}  // namespace vremo
