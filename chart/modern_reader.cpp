// The modern load: read, resolve the blocks, time, pair long notes, compile.
#include "chart/modern_reader.h"

#include <algorithm>
#include <cmath>
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

double LengthOf(const ModernData& d, int32_t measure) {
  return d.measureLength[measure] > 0.0 ? d.measureLength[measure] : 1.0;
}

// Measure starts in units: start[m + 1] = start[m] + 192 x length of m.
std::vector<double> MeasureStarts(const ModernData& d) {
  std::vector<double> start(static_cast<size_t>(std::max(d.maxMeasure, 0)) + 2, 0.0);
  for (int32_t m = 0; m + 1 < static_cast<int32_t>(start.size()); ++m) {
    start[m + 1] = start[m] + kUnitsPerMeasure * LengthOf(d, m);
  }
  return start;
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

// Whole positions (nearly all of them) need no rounding.
int32_t RoundedPosition(double position) {
  constexpr double kLimit = 2147483647.0;
  if (position == std::floor(position) && std::fabs(position) <= kLimit) return static_cast<int32_t>(position);
  return RoundToInt32(position).value_or(0);
}

ChartObject TableObject(const ModernObject& o, int32_t channel, int32_t value, NoteKind kind) {
  ChartObject object;
  object.measure = o.measure;
  // The tick as the classic reading gives it (a single-precision step).
  const float step = static_cast<float>(kUnitsPerMeasure) / static_cast<float>(o.count);
  object.tick = kUnitsPerMeasure % o.count == 0
                    ? kUnitsPerMeasure / o.count * o.index
                    : RoundToInt32(static_cast<double>(step) * static_cast<double>(o.index)).value_or(0);
  object.y = RoundedPosition(o.position);
  object.channel = channel;
  object.value = value;
  object.kind = kind;
  return object;
}

// Puts one object into the fixed table, counting notes per side.
void Emit(const ChartObject& object, Chart& chart, CapacityReport& dropped) {
  if (chart.objectCount >= kMaxObjects) {
    ++dropped.droppedObjects;
    return;
  }
  chart.objects[chart.objectCount] = object;
  if (object.channel >= kFirstLaneChannel && object.channel <= kLastLaneChannel) {
    const int side = object.channel >= kFirstSide2Channel ? 1 : 0;
    chart.sideUsed[side] = kTrue16;
    ++chart.totalNotes[side];
  }
  ++chart.objectCount;
}

// Tempo and stop objects stay for information: the tempo or stop rounded.
void EmitOther(const ModernObject& o, const ModernData& d, Chart& chart, CapacityReport& dropped) {
  int32_t channel = o.code == kCodeBackgroundSound ? kChannelBackgroundSound
                    : o.code == kBgaBaseCode       ? kChannelBgaBase
                    : o.code == kBgaPoorCode       ? kChannelBgaPoor
                    : o.code == kBgaLayerCode      ? kChannelBgaLayer
                    : o.code == kCodeTempo         ? kChannelTempo
                                                   : 0;
  int32_t value = o.pair;
  if (o.code == kCodeTempoTable || o.code == kCodeStop) {
    const double amount = o.code == kCodeStop ? d.stopTable[o.pair] : d.tempoTable[o.pair];
    if (!(amount > 0.0)) return;
    channel = o.code == kCodeStop ? kChannelStop : kChannelTempo;
    value = RoundToInt32(amount).value_or(0);
  }
  if (channel != 0) Emit(TableObject(o, channel, value, NoteKind::kNote), chart, dropped);
}

// The long-note kind of every object (by its index in the list): #LNTYPE 1
// pairs on 51-69 (a head, then the next object of the channel its tail)
// and #LNOBJ tails (the lane's previous note becomes the head). Both go in
// position order; a head left without its tail plays as a plain note.
std::vector<NoteKind> LongNoteKinds(const ModernData& d) {
  std::vector<NoteKind> kinds(d.objects.size(), NoteKind::kNote);
  std::vector<int32_t> lanes;  // the objects that may take part, by position
  for (size_t k = 0; k < d.objects.size(); ++k) {
    const ModernObject& o = d.objects[k];
    const auto lane = LaneOfCode(o.code);
    const bool note = lane && lane->group == kCodeSide1;
    if ((lane && lane->group == kCodeLongSide1) || (note && d.anyLongNoteEnd)) lanes.push_back(static_cast<int32_t>(k));
  }
  std::stable_sort(lanes.begin(), lanes.end(),
                   [&d](int32_t a, int32_t b) { return d.objects[a].position < d.objects[b].position; });
  constexpr int32_t kLanes = 2 * kLanesPerGroup;
  std::array<int32_t, kLanes> openHead;  // 51-69 heads waiting for their tail
  std::array<int32_t, kLanes> lastNote;  // the lane's previous note, for #LNOBJ
  openHead.fill(-1);
  lastNote.fill(-1);
  for (int32_t k : lanes) {
    const ModernObject& o = d.objects[k];
    const LaneOf lane = *LaneOfCode(o.code);
    if (lane.group == kCodeLongSide1) {
      int32_t& head = openHead[lane.lane];
      kinds[k] = head < 0 ? NoteKind::kLongHead : NoteKind::kLongTail;
      head = head < 0 ? k : -1;
    } else if (d.longNoteEnd[o.pair] && lastNote[lane.lane] >= 0) {
      kinds[lastNote[lane.lane]] = NoteKind::kLongHead;
      kinds[k] = NoteKind::kLongTail;
      lastNote[lane.lane] = -1;
    } else {
      lastNote[lane.lane] = k;
    }
  }
  for (int32_t head : openHead) {
    if (head >= 0) kinds[head] = NoteKind::kNote;
  }
  return kinds;
}

// Fills the table in file order, as the classic reading does (so objects
// at one position keep the order the classic sort gives them): lanes with
// their long-note kinds, mines apart.
void FillTable(const ModernData& d, Chart& chart, CapacityReport& dropped) {
  const std::vector<NoteKind> kinds = LongNoteKinds(d);
  for (size_t k = 0; k < d.objects.size(); ++k) {
    const ModernObject& o = d.objects[k];
    const auto lane = LaneOfCode(o.code);
    if (!lane) {
      EmitOther(o, d, chart, dropped);
      continue;
    }
    const int32_t side = lane->lane / kLanesPerGroup;
    int32_t channel = (side == 0 ? kFirstLaneChannel : kFirstSide2Channel) + lane->lane % kLanesPerGroup;
    if (lane->group == kCodeMineSide1) channel += kMineChannelOffset;
    Emit(TableObject(o, channel, o.pair, kinds[k]), chart, dropped);
  }
}

int32_t CompileModern(Chart& chart, const ModernData& d, const std::vector<double>& starts, size_t droppedReading,
                      LoadContext& context) {
  DebugLog& log = context.log;
  ChartTables t = TablesOf(chart);
  t.dropped.droppedObjects = static_cast<int32_t>(std::min<size_t>(droppedReading, INT32_MAX));
  chart.maxMeasure = std::max(d.maxMeasure, 0);
  for (int32_t m = 0; m <= d.maxMeasure; ++m) chart.measureLength[m] = static_cast<float>(LengthOf(d, m));
  FillTable(d, chart, t.dropped);
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
  // Room for every pair the text could hold: only what is written is ever
  // touched, and the list never moves while it grows.
  data.objects.reserve(std::min(decoded.text.size() / 2, kModernMaxObjects));
  MediaLoadState media;
  const HeaderHooks hooks = MediaHooks(chart, context, media);
  ForEachModernLine(decoded.text, [&](std::u32string_view line) {
    if (!flow.Feed(line) && flow.Active()) ReadModernLine(line, chart, data, &hooks);
  });

  chart.randomDraws = flow.Drew();
  const std::vector<double> starts = MeasureStarts(data);
  for (ModernObject& o : data.objects) {
    o.position = starts[o.measure] + kUnitsPerMeasure * LengthOf(data, o.measure) * o.index / o.count;
  }
  BuildTiming(data, data.bpm ? *data.bpm : static_cast<double>(chart.bpm), chart.timing);

  const int32_t result = CompileModern(chart, data, starts, data.droppedObjects, context);
  if (objects != nullptr) *objects = std::move(data.objects);
  return result;
}

}  // namespace vremo
