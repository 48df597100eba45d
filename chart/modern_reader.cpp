// The modern load: read, resolve the blocks, time, pair long notes, compile.
#include "chart/modern_reader.h"

#include <algorithm>
#include <random>

#include "chart/bms_reader.h"
#include "chart/chart_compiler.h"
#include "chart/chart_sort.h"
#include "chart/control_flow.h"
#include "chart/file_bytes.h"
#include "chart/load_steps.h"
#include "chart/numbers.h"
#include "chart/text_detect.h"

namespace vremo {
namespace {

constexpr int32_t kBgaBaseCode = ChannelCode('0', '4');
constexpr int32_t kBgaPoorCode = ChannelCode('0', '6');
constexpr int32_t kBgaLayerCode = ChannelCode('0', '7');

uint32_t SeedOf(const LoadOptions& options) {
  if (options.seed) return *options.seed;
  std::random_device device;
  return device();
}

// Measure starts in units: start[m + 1] = start[m] + 192 x length of m.
std::vector<double> MeasureStarts(const ModernData& d) {
  std::vector<double> start(static_cast<size_t>(std::max(d.maxMeasure, 0)) + 2, 0.0);
  for (size_t m = 0; m + 1 < start.size(); ++m) {
    const double length = d.measureLength[m] > 0.0 ? d.measureLength[m] : 1.0;
    start[m + 1] = start[m] + kUnitsPerMeasure * length;
  }
  return start;
}

double LengthOf(const ModernData& d, int32_t measure) {
  return d.measureLength[measure] > 0.0 ? d.measureLength[measure] : 1.0;
}

// Tempo changes and stops in position order; at one position the tempo
// change comes first.
void BuildTiming(const ModernData& d, double startBpm, TimingMap& timing) {
  struct Change {
    double y;
    bool stop;
    double value;
  };
  std::vector<Change> changes;
  for (const ModernObject& o : d.objects) {
    if (o.code == kCodeTempo) changes.push_back({o.position, false, static_cast<double>(o.pair)});
    if (o.code == kCodeTempoTable && d.tempoTable[o.pair] > 0.0)
      changes.push_back({o.position, false, d.tempoTable[o.pair]});
    if (o.code == kCodeStop && d.stopTable[o.pair] > 0.0) changes.push_back({o.position, true, d.stopTable[o.pair]});
  }
  std::stable_sort(changes.begin(), changes.end(),
                   [](const Change& a, const Change& b) { return a.y < b.y || (a.y == b.y && !a.stop && b.stop); });
  timing.Reset(startBpm);
  for (const Change& c : changes) {
    if (c.stop) {
      timing.AddStop(c.y, c.value);
    } else {
      timing.AddTempo(c.y, c.value);
    }
  }
}

ChartObject TableObject(const ModernObject& o, int32_t channel, int32_t value, NoteKind kind) {
  ChartObject object;
  object.measure = o.measure;
  object.tick = RoundToInt32(static_cast<double>(kUnitsPerMeasure) * o.index / o.count).value_or(0);
  object.y = RoundToInt32(o.position).value_or(0);
  object.channel = channel;
  object.value = value;
  object.kind = kind;
  return object;
}

// The chart table's objects in position order: lanes with their long-note
// kinds, mines apart, tempo and stop objects for information.
std::vector<ChartObject> TableObjects(const ModernData& d) {
  std::vector<ChartObject> table;
  table.reserve(d.objects.size());
  constexpr int32_t kLanes = 2 * kLanesPerGroup;
  std::array<int32_t, kLanes> openHead;  // 51-69 heads waiting for their tail
  std::array<int32_t, kLanes> lastNote;  // the lane's previous note, for #LNOBJ
  openHead.fill(-1);
  lastNote.fill(-1);
  for (const ModernObject& o : d.objects) {
    const auto lane = LaneOfCode(o.code);
    if (!lane) {
      int32_t channel = o.code == kCodeBackgroundSound ? kChannelBackgroundSound
                        : o.code == kBgaBaseCode       ? kChannelBgaBase
                        : o.code == kBgaPoorCode       ? kChannelBgaPoor
                        : o.code == kBgaLayerCode      ? kChannelBgaLayer
                        : o.code == kCodeTempo         ? kChannelTempo
                                                       : 0;
      int32_t value = o.pair;
      if (o.code == kCodeTempoTable || o.code == kCodeStop) {
        const double amount = o.code == kCodeStop ? d.stopTable[o.pair] : d.tempoTable[o.pair];
        if (!(amount > 0.0)) continue;
        channel = o.code == kCodeStop ? kChannelStop : kChannelTempo;
        value = RoundToInt32(amount).value_or(0);
      }
      if (channel != 0) table.push_back(TableObject(o, channel, value, NoteKind::kNote));
      continue;
    }
    const int32_t side = lane->lane / kLanesPerGroup;
    const int32_t channel = (side == 0 ? kFirstLaneChannel : kFirstSide2Channel) + lane->lane % kLanesPerGroup;
    const auto index = static_cast<int32_t>(table.size());
    if (lane->group == kCodeMineSide1) {
      table.push_back(TableObject(o, channel + kMineChannelOffset, o.pair, NoteKind::kNote));
    } else if (lane->group == kCodeLongSide1) {
      int32_t& head = openHead[lane->lane];
      table.push_back(TableObject(o, channel, o.pair, head < 0 ? NoteKind::kLongHead : NoteKind::kLongTail));
      head = head < 0 ? index : -1;
    } else if (d.longNoteEnd[o.pair] && lastNote[lane->lane] >= 0) {
      table[lastNote[lane->lane]].kind = NoteKind::kLongHead;
      table.push_back(TableObject(o, channel, o.pair, NoteKind::kLongTail));
      lastNote[lane->lane] = -1;
    } else {
      table.push_back(TableObject(o, channel, o.pair, NoteKind::kNote));
      lastNote[lane->lane] = index;
    }
  }
  // A head left without its tail plays as a plain note.
  for (int32_t head : openHead) {
    if (head >= 0) table[head].kind = NoteKind::kNote;
  }
  return table;
}

// Copies the objects into the fixed table, counting notes per side.
void FillTable(const std::vector<ChartObject>& table, Chart& chart, CapacityReport& dropped) {
  for (const ChartObject& object : table) {
    if (chart.objectCount >= kMaxObjects) {
      ++dropped.droppedObjects;
      continue;
    }
    chart.objects[chart.objectCount++] = object;
    if (object.channel < kFirstLaneChannel || object.channel > kLastLaneChannel) continue;
    const int side = object.channel >= kFirstSide2Channel ? 1 : 0;
    chart.sideUsed[side] = kTrue16;
    ++chart.totalNotes[side];
  }
}

int32_t CompileModern(Chart& chart, const ModernData& d, const std::vector<double>& starts, size_t droppedReading,
                      LoadContext& context) {
  DebugLog& log = context.log;
  ChartTables t = TablesOf(chart);
  t.dropped.droppedObjects = static_cast<int32_t>(std::min<size_t>(droppedReading, INT32_MAX));
  chart.maxMeasure = std::max(d.maxMeasure, 0);
  for (int32_t m = 0; m <= d.maxMeasure; ++m) chart.measureLength[m] = static_cast<float>(LengthOf(d, m));
  FillTable(TableObjects(d), chart, t.dropped);
  if (!PrepareObjectTable(chart, t, log)) return kLoadNoObject;

  log.PutLog("  adding separator...");
  const int32_t firstBar = chart.objectCount;
  AddBarLines(t);
  for (int32_t k = firstBar; k < chart.objectCount; ++k) {
    ChartObject& bar = chart.objects[k];
    bar.y = RoundToInt32(starts[bar.measure]).value_or(bar.y);
  }
  log.PutLog("  sorting objects...");
  SortObjectsByY(chart.objects.data(), chart.objectCount);
  log.PutLog("  recaliculating objects position...");
  // Positions are final already; the lane sound changes remain. A tail is
  // a release and changes no lane sound.
  SoundChangeList changes{chart.soundChanges.data(), &chart.soundChangeCount};
  SoundChangeTracker tracker;
  for (int32_t k = 0; k < chart.objectCount; ++k) {
    if (chart.objects[k].kind != NoteKind::kLongTail) tracker.Add(chart.objects[k], changes, t.dropped);
  }
  ReportDroppedSoundChanges(t, log);

  chart.modern = true;
  return FinishChart(chart, context, RoundToInt32(chart.timing.TimeAt(chart.LastY())));
}

}  // namespace

int32_t LoadModernChart(const std::string& path, Chart& chart, LoadContext& context,
                        std::vector<ModernObject>* objects) {
  if (!BeginLoad(path, chart, context)) return kLoadMissing;
  const DecodedChartText decoded = DecodeModernChartBytes(ReadFileBytes(path, context.log));
  BeginChartLines(path, chart, context);

  ChartRandom random(SeedOf(context.options));
  ControlFlow flow(random, context.log);
  ModernData data;
  MediaLoadState media;
  const HeaderHooks hooks = MediaHooks(chart, context, media);
  ForEachModernLine(decoded.text, [&](std::u32string_view line) {
    if (!flow.Feed(line) && flow.Active()) ReadModernLine(line, chart, data, &hooks);
  });

  const std::vector<double> starts = MeasureStarts(data);
  for (ModernObject& o : data.objects) {
    o.position = starts[o.measure] + kUnitsPerMeasure * LengthOf(data, o.measure) * o.index / o.count;
  }
  std::stable_sort(data.objects.begin(), data.objects.end(),
                   [](const ModernObject& a, const ModernObject& b) { return a.position < b.position; });
  BuildTiming(data, data.bpm ? *data.bpm : static_cast<double>(chart.bpm), chart.timing);

  const int32_t result = CompileModern(chart, data, starts, data.droppedObjects, context);
  if (objects != nullptr) *objects = std::move(data.objects);
  return result;
}

}  // namespace vremo
