#pragma once
// The modern reading of a BMS chart (LoadOptions::modernReading): lines at
// any line end, random and switch blocks, fractional and extended tempos,
// stops, long notes (#LNTYPE 1 channels 51-69, #LNOBJ), landmines, base-36
// slots, and UTF-8, CP932 or CP949 text. It logs what the classic load logs,
// hands media over in file order, fills the same Chart (with its timing map
// and chart.modern set) through the compiler's shared steps, and keeps its
// own exact, unbounded object list for the timeline. UI thread only.

#include <cstdint>
#include <string>
#include <vector>

#include "chart/chart.h"
#include "chart/load_context.h"
#include "chart/modern_lines.h"

namespace vremo {

// LoadChart's results. `objects` (when given) receives every object read in
// the blocks taken, with its exact position, in file order.
int32_t LoadModernChart(const std::string& path, Chart& chart, LoadContext& context,
                        std::vector<ModernObject>* objects = nullptr);

}  // namespace vremo
