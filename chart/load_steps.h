#pragma once
// The steps of LoadChart that the classic and the modern reading share: the
// opening lines and clearing, the lines before the chart's own lines, and
// the media hooks that hand #WAVxx / #BMPxx lines to the media layer in file
// order. Used by bms_reader.cpp and modern_reader.cpp only. UI thread.

#include <string>

#include "chart/bms_lines.h"
#include "chart/chart.h"
#include "chart/load_context.h"

namespace vremo {

// The file check, the status text, "BMS load --------" to "  loading bms...",
// the directory, the clearing of the tables and the surface set-up. False
// (with "Err[not exist] :" logged) when the file does not exist.
bool BeginLoad(const std::string& path, Chart& chart, LoadContext& context);

// "  compiling bms & file loading...", the path, and the free video memory.
void BeginChartLines(const std::string& path, Chart& chart, LoadContext& context);

// Media state one load keeps: a BMP file gets the size last measured for a
// picture of another type in the same load.
struct MediaLoadState {
  PictureLoadResult lastMeasured;
};
HeaderHooks MediaHooks(Chart& chart, LoadContext& context, MediaLoadState& state);

}  // namespace vremo
