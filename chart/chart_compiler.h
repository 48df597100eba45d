#pragma once
// The second half of a chart load: bar lines, the sort, scaled positions,
// the lane sound-change list, the song length, the chart identity, the gauge
// and point rates and the information lines. The steps are shared with the
// play list's header reader, which runs them on its own tables.
// UI thread (or the header reader's thread) only.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "chart/chart_tables.h"
#include "chart/load_context.h"

namespace vremo {

// When the table cannot hold one bar line per measure, the objects read last
// are dropped (and uncounted) to make room.
void MakeRoomForBarLines(ChartTables& tables);
// One bar line per measure 0 to maxMeasure, appended after the objects;
// unset measure lengths become 1.0.
void AddBarLines(ChartTables& tables);

struct SoundChangeList {
  KeySoundChange* changes = nullptr;  // kMaxSoundChanges entries
  int32_t* count = nullptr;
};
// Replaces raw positions by scaled ones (bar starts rounded step by step)
// and, when `changes` is given, builds the lane sound-change list.
void ScalePositions(ChartTables& tables, SoundChangeList* changes);

// The tempo in force at the end and the position offset that tempo changes
// left: a position y lies at (y - offset) x 1250 / tempo milliseconds.
struct TempoEnd {
  double tempo = 0.0;
  double offset = 0.0;
};
TempoEnd FollowTempoChanges(const ChartObject* objects, int32_t count, float bpm);

// Length in ms the player uses; empty when it cannot be computed (tempo 0).
std::optional<int32_t> SongLengthMs(const ChartObject* objects, int32_t count, float bpm);

// The compiler tail of LoadChart; returns 1, or 0 when no object was read.
int32_t CompileChart(Chart& chart, ChartTables& tables, LoadContext& context);

// The song lines the load sequence logs after a successful load, from
// "* genre:" to "----------------".
std::vector<std::string> SongInfoLines(const Chart& chart);

}  // namespace vremo
