#pragma once
// The sort of the object table by position. The order it leaves equal
// positions in (a bar line and the notes at the start of its measure) is
// what the play loop has always relied on, so this exact non-recursive
// median-of-three quicksort is the only sort the table may get.

#include <cstdint>

#include "chart/chart.h"

namespace vremo {

void SortObjectsByY(ChartObject* objects, int32_t count);

}  // namespace vremo
