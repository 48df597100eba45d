#pragma once
// The second half of a chart load: bar lines, the sort, scaled positions,
// the lane sound-change list, the song length, the chart identity, the gauge
// and point rates and the information lines. The steps are shared with the
// play list's header reader, which runs them on its own tables.
// UI thread (or the header reader's thread) only.

#include <array>
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
// The lane sound-change rule: a lane whose sound changes gets the change
// halfway between its previous note and the new one. Objects come in table
// order; other channels are passed over.
class SoundChangeTracker {
 public:
  void Add(const ChartObject& object, SoundChangeList& changes, CapacityReport& dropped);

 private:
  std::array<int32_t, kLaneChannelCount> lastY_{};
  std::array<int32_t, kLaneChannelCount> lastValue_{};
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
TempoEnd TempoAtStart(float bpm);  // `bpm` rounded to 16 bits, no offset
// One object of the walk: a channel 3 object changes the tempo.
void FollowTempoChange(TempoEnd& end, const ChartObject& object);
TempoEnd FollowTempoChanges(const ChartObject* objects, int32_t count, float bpm);

// Length in ms the player uses; empty when it cannot be computed (tempo 0).
std::optional<int32_t> SongLengthMs(const ChartObject* objects, int32_t count, float bpm);

// The steps of CompileChart that every reading shares. The first reports
// what the reader dropped, refuses an empty table ("  Err: object not
// exists."), makes room for the bar lines and maps the sides; the last runs
// from "BMSLoad complete." to the rates (a length left empty keeps the
// previous chart's) and returns 1.
bool PrepareObjectTable(Chart& chart, ChartTables& tables, DebugLog& log);
void ReportDroppedSoundChanges(const ChartTables& tables, DebugLog& log);
int32_t FinishChart(Chart& chart, LoadContext& context, std::optional<int32_t> lengthMs);

// The compiler tail of LoadChart; returns 1, or 0 when no object was read.
int32_t CompileChart(Chart& chart, ChartTables& tables, LoadContext& context);

// The song lines the load sequence logs after a successful load, from
// "* genre:" to "----------------".
std::vector<std::string> SongInfoLines(const Chart& chart);

}  // namespace vremo
