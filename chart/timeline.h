#pragma once
// The timeline of a chart: one line "TIME<TAB>CHANNEL<TAB>VALUE" per object
// on channels 01, 03, 11-19, 21-29, 51-59, 61-69, D1-D9 and E1-E9, TIME in
// milliseconds from the start of measure 0 with three decimals, sorted by
// time, channel and value. The modern reading's comes from its exact object
// list and timing map; the classic one from the compiled table with the
// compiler's length rule (channel 3 tempos, the start tempo rounded).
// Pure functions; any thread.

#include <string>
#include <vector>

#include "chart/chart.h"
#include "chart/modern_lines.h"

namespace vremo {

std::vector<std::string> ModernTimeline(const std::vector<ModernObject>& objects, const TimingMap& timing);
std::vector<std::string> ClassicTimeline(const Chart& chart);

}  // namespace vremo
