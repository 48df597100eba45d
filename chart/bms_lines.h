#pragma once
// One "#" line of a chart: a channel line (measure, channel, data) or a
// header command recognised by its first three characters. Shared by the
// full reader and the play list's header-only reader. Pure; one thread.

#include <functional>
#include <string_view>

#include "chart/chart_tables.h"

namespace vremo {

// Media lines and the MIDI notice; the header-only reader passes none.
struct HeaderHooks {
  std::function<void(int slot, std::u32string_view name)> onWav;
  std::function<void(int slot, std::u32string_view name)> onBmp;
  std::function<void()> onMidiFile;
};

// `line` is the text after the "#".
void ReadChartLine(std::u32string_view line, ChartTables& tables, const HeaderHooks* hooks);

}  // namespace vremo
