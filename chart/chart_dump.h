#pragma once
// The compiled chart as one JSON object, for tools, editors and tests
// (`vremo --dump`). Non-finite numbers are the strings "inf", "-inf", "nan";
// floats are written as their shortest round-trip decimal. Any thread.

#include <string>

#include "chart/chart.h"

namespace vremo {

std::string DumpChartJson(const Chart& chart);

}  // namespace vremo
