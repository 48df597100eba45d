// LoadChart and the header-only reader.
#include "chart/bms_reader.h"

#include <filesystem>
#include <memory>
#include <vector>

#include "chart/bms_lines.h"
#include "chart/chart_compiler.h"
#include "chart/chart_sort.h"
#include "chart/chart_text.h"
#include "chart/load_steps.h"
#include "chart/modern_reader.h"
#include "chart/numbers.h"

namespace vremo {
namespace {

constexpr int kStatusBlankLines = 6;

std::string DirectoryOf(const std::string& path) {
  const size_t slash = path.find_last_of("\\/");
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// Clears what every load starts without; header values stay.
void ClearForLoad(Chart& chart) {
  chart.objects.fill(ChartObject{});
  chart.soundChanges.fill(KeySoundChange{});
  chart.measureLength.fill(0.0f);
  for (auto& name : chart.wavName) name.clear();
  for (auto& name : chart.bmpName) name.clear();
  chart.objectCount = 0;
  chart.soundChangeCount = 0;
  chart.maxMeasure = 0;
  chart.totalNotes = {0, 0};
  chart.sideUsed = {0, 0};
  chart.modern = false;
  chart.randomDraws = false;
  chart.timing.Reset(0.0);
}

bool EndsWithBmp(std::u32string_view name) {
  if (name.size() < 3) return false;
  std::u32string tail(name.substr(name.size() - 3));
  for (char32_t& c : tail) {
    if (c >= U'a' && c <= U'z') c -= 32;
  }
  return tail == U"BMP";
}

// Loads one sound slot and stores what the layer reports about it.
void LoadSoundSlot(Chart& chart, LoadContext& context, int slot, std::u32string_view name) {
  chart.wavName[slot] = ToUtf8(name);
  if (context.options.noWav) return;
  const SoundLoadResult sound = context.media.LoadSound(slot, chart.directory + chart.wavName[slot]);
  if (!sound.loaded) return;
  chart.soundSize[slot] = sound.sizeBytes;
  chart.soundBaseFrequency[slot] = sound.baseFrequency;
  const double frequency = static_cast<double>(sound.baseFrequency) * context.options.speedFactor;
  if (auto rounded = RoundToInt32(frequency)) context.media.SetSoundFrequency(slot, *rounded);
}

}  // namespace

bool BeginLoad(const std::string& path, Chart& chart, LoadContext& context) {
  DebugLog& log = context.log;
  if (!log.CheckExist(path)) return false;
  std::string status;
  for (int i = 0; i < kStatusBlankLines; ++i) status += "\r\n";
  log.SetStatusText(status);
  log.PutLog("BMS load --------");
  log.SetCaption("loading...");
  log.PutLog("  file exist...");
  chart.directory = DirectoryOf(path);

  ClearForLoad(chart);
  context.media.SetSlotCount(context.options.modernReading ? kMaxMediaSlots : kMediaSlots);
  context.media.PrepareSurfaces();
  log.PutLog("  loading bms...");
  return true;
}

void BeginChartLines(const std::string& path, Chart& chart, LoadContext& context) {
  context.log.PutLog("  compiling bms & file loading...");
  chart.path = path;
  context.log.PutLog("  VRAM free: " + std::to_string(context.media.FreeVideoMemory()) + "bytes");
}

HeaderHooks MediaHooks(Chart& chart, LoadContext& context, MediaLoadState& state) {
  HeaderHooks hooks;
  hooks.onWav = [&chart, &context](int slot, std::u32string_view name) { LoadSoundSlot(chart, context, slot, name); };
  hooks.onBmp = [&chart, &context, &state](int slot, std::u32string_view name) {
    chart.bmpName[slot] = ToUtf8(name);
    if (context.options.noBga) return;
    const bool measure = !EndsWithBmp(name);
    const PictureLoadResult picture = context.media.LoadPicture(slot, chart.directory + chart.bmpName[slot], measure);
    // A BMP file gets the size last measured for another picture type in this
    // load (or 0 x 0): the renderer has always depended on it.
    if (measure && picture.loaded) state.lastMeasured = picture;
    chart.pictureRect[slot] = PictureRect{0, 0, state.lastMeasured.width, state.lastMeasured.height};
  };
  hooks.onMidiFile = [&context] { context.log.PutLog("  sorry, MIDIfile is not support."); };
  return hooks;
}

int32_t LoadChart(const std::string& path, Chart& chart, LoadContext& context) {
  if (context.options.modernReading) return LoadModernChart(path, chart, context);
  if (!BeginLoad(path, chart, context)) return kLoadMissing;
  const std::string bytes = ReadFileBytes(path, context.log);
  BeginChartLines(path, chart, context);

  ChartTables tables = TablesOf(chart);
  MediaLoadState media;
  const HeaderHooks hooks = MediaHooks(chart, context, media);
  ForEachChartTextLine(bytes, [&](std::u32string_view line) { ReadChartLine(line, tables, &hooks); });

  return CompileChart(chart, tables, context);
}

std::optional<ChartListInfo> ReadChartHeader(const std::string& path) {
  std::error_code ec;
  if (!std::filesystem::is_regular_file(path, ec)) return std::nullopt;
  ChartListInfo info;
  info.path = path;

  // Local tables: the list reader never touches the player's chart.
  auto objects = std::make_unique<ChartObject[]>(kMaxObjects);
  std::vector<float> measureLength(kMaxMeasure + 1, 0.0f);
  int32_t objectCount = 0;
  int32_t maxMeasure = 0;
  int32_t totalNotes[2] = {0, 0};
  Flag16 sideUsed[2] = {0, 0};
  ChartTables tables;
  tables.header = &info;
  tables.objects = objects.get();
  tables.objectCount = &objectCount;
  tables.measureLength = measureLength.data();
  tables.maxMeasure = &maxMeasure;
  tables.totalNotes = totalNotes;
  tables.sideUsed = sideUsed;

  ForEachChartTextLine(ReadFileBytes(path), [&](std::u32string_view line) { ReadChartLine(line, tables, nullptr); });
  if (objectCount == 0) return info;

  MakeRoomForBarLines(tables);
  AddBarLines(tables);
  SortObjectsByY(objects.get(), objectCount);
  ScalePositions(tables, nullptr);

  // The list reader rounds the last position times 1250 as an integer first.
  const TempoEnd end = FollowTempoChanges(objects.get(), objectCount, info.bpm);
  const auto scaledLast = RoundToInt32(static_cast<double>(objects[objectCount - 1].y) * kMsPerUnitAtBpm1);
  if (scaledLast) {
    const double length = *scaledLast / end.tempo - end.offset / (end.tempo / kMsPerUnitAtBpm1);
    if (auto rounded = RoundToInt32(length)) info.lengthMs = *rounded;
  }
  return info;
}

}  // namespace vremo
