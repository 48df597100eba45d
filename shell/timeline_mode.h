#pragma once
// `vremo --timeline [--option NAME=VALUE]... [--seed N] CHART`: the time of
// every note, background-sound and tempo object of a chart, one line each
// (chart/timeline.h), as the reading the options choose gives it. For
// comparing the reading with other readers. Main thread.

#include <ostream>
#include <string>
#include <vector>

namespace vremo {

// The arguments after "--timeline"; returns the exit status (0 printed,
// 1 no object, 2 no such chart, 64 wrong usage).
int RunTimelineMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace vremo
