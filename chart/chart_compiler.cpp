// Bar lines, sort, positions, sound changes, length, identity and rates.
#include "chart/chart_compiler.h"

#include <cmath>
#include <limits>

#include "chart/chart_sort.h"
#include "chart/chart_text.h"
#include "chart/numbers.h"

namespace vremo {
namespace {

constexpr double kPointsPerChart = 100000.0;
constexpr float kDefaultTotalBase = 200.0f;

bool IsLaneChannel(int32_t channel) { return channel >= kFirstLaneChannel && channel <= kLastLaneChannel; }

std::string DroppedLine(const char* table, int32_t capacity, int32_t count, const char* what) {
  return std::string("  Err: ") + table + " full (" + std::to_string(capacity) + " entries): " + std::to_string(count) +
         " " + what + " dropped.";
}

// bmsId = notes x (level + 1) in 32-bit integers plus (rank + 1) x bpm in
// double; empty when a step overflows.
std::optional<int32_t> ChartIdentity(const Chart& chart) {
  const int64_t notes = static_cast<int64_t>(chart.totalNotes[0]) + chart.totalNotes[1];
  const int64_t level = static_cast<int64_t>(chart.playLevel) + 1;
  const int64_t product = notes * level;
  const int64_t rank = static_cast<int64_t>(chart.rank) + 1;
  constexpr int64_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
  if (notes > kMax || product < kMin || product > kMax || rank > kMax) return std::nullopt;
  return RoundToInt32(static_cast<double>(product) + static_cast<double>(rank) * static_cast<double>(chart.bpm));
}

void LogInformation(DebugLog& log, const Chart& chart) {
  log.PutLog("BMSInfo --------");
  log.PutLog("* BMS-ID: " + std::to_string(chart.bmsId));
  log.PutLog("* " + std::to_string(chart.objectCount) + "objects, " + std::to_string(chart.maxMeasure) + "measures");
  log.PutLog("* TotalNotes 1:" + std::to_string(chart.totalNotes[0]) + " 2:" + std::to_string(chart.totalNotes[1]));
  log.PutLog("* length " + std::to_string(chart.lengthMs) + "ms, " + std::to_string(chart.LastY()) + "pixels");
}

}  // namespace

void MakeRoomForBarLines(ChartTables& t) {
  const int32_t barLines = *t.maxMeasure + 1;
  int32_t excess = *t.objectCount + barLines - kMaxObjects;
  while (excess > 0 && *t.objectCount > 0) {
    const ChartObject& last = t.objects[--*t.objectCount];
    if (last.channel >= kFirstSide2Channel) {
      --t.totalNotes[1];
    } else if (last.channel >= kFirstLaneChannel) {
      --t.totalNotes[0];
    }
    ++t.dropped.droppedObjects;
    --excess;
  }
}

void AddBarLines(ChartTables& t) {
  for (int32_t m = 0; m <= *t.maxMeasure && *t.objectCount < kMaxObjects; ++m) {
    if (t.measureLength[m] == 0.0f) t.measureLength[m] = 1.0f;
    ChartObject& bar = t.objects[(*t.objectCount)++];
    bar = ChartObject{};
    bar.measure = m;
    bar.y = m * kUnitsPerMeasure;
    bar.channel = kChannelBarLine;
  }
}

void SoundChangeTracker::Add(const ChartObject& object, SoundChangeList& changes, CapacityReport& dropped) {
  if (!IsLaneChannel(object.channel)) return;
  const int32_t lane = object.channel - kFirstLaneChannel;
  if (object.value != lastValue_[lane]) {
    if (*changes.count < kMaxSoundChanges) {
      KeySoundChange& change = changes.changes[(*changes.count)++];
      change.channel = object.channel;
      change.y = static_cast<int32_t>((static_cast<int64_t>(lastY_[lane]) + object.y) / 2);
      change.value = object.value;
    } else {
      ++dropped.droppedSoundChanges;
    }
  }
  lastY_[lane] = object.y;
  lastValue_[lane] = object.value;
}

void ScalePositions(ChartTables& t, SoundChangeList* changes) {
  int32_t current = -1;
  int32_t barStart = 0;
  auto lengthOf = [&t](int32_t measure) { return measure < 0 ? 0.0f : t.measureLength[measure]; };
  SoundChangeTracker tracker;
  for (int32_t k = 0; k < *t.objectCount; ++k) {
    ChartObject& object = t.objects[k];
    if (object.measure != current) {
      const float span = static_cast<float>(kUnitsPerMeasure) * lengthOf(current);
      barStart = RoundToInt32(barStart + static_cast<double>(span)).value_or(barStart);
      current = object.measure;
    }
    object.y = RoundToInt32(barStart + object.tick * static_cast<double>(lengthOf(current))).value_or(object.y);
    if (changes != nullptr) tracker.Add(object, *changes, t.dropped);
  }
}

void FollowTempoChange(TempoEnd& end, const ChartObject& object) {
  if (object.channel != kChannelTempo) return;
  const double b = end.tempo;
  end.offset =
      end.offset - ((object.y - end.offset) / (b / kMsPerUnitAtBpm1)) * ((object.value - b) / kMsPerUnitAtBpm1);
  end.tempo = static_cast<int16_t>(object.value);
}

TempoEnd TempoAtStart(float bpm) {
  TempoEnd start;
  start.tempo = RoundToInt16(bpm).value_or(0);
  return start;
}

TempoEnd FollowTempoChanges(const ChartObject* objects, int32_t count, float bpm) {
  TempoEnd end = TempoAtStart(bpm);
  for (int32_t k = 0; k < count; ++k) FollowTempoChange(end, objects[k]);
  return end;
}

std::optional<int32_t> SongLengthMs(const ChartObject* objects, int32_t count, float bpm) {
  const TempoEnd end = FollowTempoChanges(objects, count, bpm);
  const double yLast = count > 0 ? objects[count - 1].y : 0;
  const double unitsPerMs = end.tempo / kMsPerUnitAtBpm1;
  return RoundToInt32(yLast / unitsPerMs - end.offset / unitsPerMs);
}

bool PrepareObjectTable(Chart& chart, ChartTables& t, DebugLog& log) {
  if (t.dropped.droppedMeasureLines > 0) {
    log.PutLog("  Err: measure over " + std::to_string(kMaxMeasure) + ": " +
               std::to_string(t.dropped.droppedMeasureLines) + " lines dropped.");
  }
  if (chart.objectCount == 0) {
    log.PutLog("  Err: object not exists.");
    return false;
  }
  MakeRoomForBarLines(t);
  if (t.dropped.droppedObjects > 0) {
    log.PutLog(DroppedLine("object table", kMaxObjects, t.dropped.droppedObjects, "objects"));
  }

  chart.sidePlayer = {0, 1};
  if (chart.player == 3) {
    chart.sidePlayer[1] = 0;
    chart.totalNotes[0] += chart.totalNotes[1];
  }
  return true;
}

void ReportDroppedSoundChanges(const ChartTables& t, DebugLog& log) {
  if (t.dropped.droppedSoundChanges > 0) {
    log.PutLog(DroppedLine("sound change list", kMaxSoundChanges, t.dropped.droppedSoundChanges, "changes"));
  }
}

int32_t FinishChart(Chart& chart, LoadContext& context, std::optional<int32_t> lengthMs) {
  DebugLog& log = context.log;
  log.PutLog("BMSLoad complete.");
  if (context.reloadLayout) context.reloadLayout();

  if (lengthMs) {
    chart.lengthMs = *lengthMs;
    chart.playLengthMs = *lengthMs;
  }

  const std::u32string marquee =
      U" * \"" + FromUtf8(chart.genre) + U"\" " + FromUtf8(chart.title) + U" / " + FromUtf8(chart.artist);
  chart.marquee = ToUtf8(marquee);
  chart.marqueeLength = static_cast<int32_t>(marquee.size());

  if (auto id = ChartIdentity(chart)) chart.bmsId = *id;
  LogInformation(log, chart);

  if (chart.total == 0) {
    // Uses the rates still held from the previous chart, on purpose.
    const float sum = chart.gaugePerNote[0] + chart.gaugePerNote[1] + kDefaultTotalBase;
    if (auto total = RoundToInt32(sum)) chart.total = *total;
  }
  for (int s = 0; s < 2; ++s) {
    const double notes = chart.totalNotes[s];
    chart.gaugePerNote[s] = static_cast<float>(chart.total / notes);
    chart.pointsPerNote[s] = kPointsPerChart / notes;
  }

  context.log.SetCaption("[" + chart.genre + "] " + chart.title + " / " + chart.artist);
  chart.effectiveBpm = chart.bpm * context.options.speedFactor;
  chart.unitsPerMs = chart.effectiveBpm / static_cast<float>(kMsPerUnitAtBpm1);
  return 1;
}

int32_t CompileChart(Chart& chart, ChartTables& t, LoadContext& context) {
  DebugLog& log = context.log;
  if (!PrepareObjectTable(chart, t, log)) return 0;
  log.PutLog("  adding separator...");
  AddBarLines(t);
  log.PutLog("  sorting objects...");
  SortObjectsByY(chart.objects.data(), chart.objectCount);
  log.PutLog("  recaliculating objects position...");
  SoundChangeList changes{chart.soundChanges.data(), &chart.soundChangeCount};
  ScalePositions(t, &changes);
  ReportDroppedSoundChanges(t, log);
  return FinishChart(chart, context, SongLengthMs(chart.objects.data(), chart.objectCount, chart.bpm));
}

std::vector<std::string> SongInfoLines(const Chart& chart) {
  return {
      "* genre:" + chart.genre,
      "* title:" + chart.title,
      "* artist:" + chart.artist,
      "* player:" + std::to_string(chart.player),
      "* playlevel:" + std::to_string(chart.playLevel) + ", rank:" + std::to_string(chart.rank),
      "* bpm:" + ShortestDecimal(chart.bpm),
      "----------------",
  };
}

}  // namespace vremo
