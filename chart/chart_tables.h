#pragma once
// The tables one chart read fills, as plain views: the player's Chart and the
// play list's header reader (which keeps its own local tables) share the
// reading and compiling steps through it. UI thread or any single thread.

#include <cstdint>

#include "chart/chart.h"

namespace vremo {

// What was dropped because a table was full; reported once per load.
struct CapacityReport {
  int32_t droppedObjects = 0;
  int32_t droppedMeasureLines = 0;
  int32_t droppedSoundChanges = 0;
};

struct ChartTables {
  ChartHeader* header = nullptr;
  ChartObject* objects = nullptr;  // kMaxObjects entries
  int32_t* objectCount = nullptr;
  float* measureLength = nullptr;  // kMaxMeasure + 1 entries
  int32_t* maxMeasure = nullptr;
  int32_t* totalNotes = nullptr;  // 2 entries
  Flag16* sideUsed = nullptr;     // 2 entries
  CapacityReport dropped;
};

inline ChartTables TablesOf(Chart& chart) {
  ChartTables t;
  t.header = &chart;
  t.objects = chart.objects.data();
  t.objectCount = &chart.objectCount;
  t.measureLength = chart.measureLength.data();
  t.maxMeasure = &chart.maxMeasure;
  t.totalNotes = chart.totalNotes.data();
  t.sideUsed = chart.sideUsed.data();
  return t;
}

}  // namespace vremo
