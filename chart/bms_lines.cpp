// Channel lines and header commands.
#include "chart/bms_lines.h"

#include <cmath>
#include <string>

#include "chart/chart_text.h"
#include "chart/numbers.h"

namespace vremo {
namespace {

// Column where each command's argument starts: its word plus one blank.
constexpr size_t kWavArgument = 7;
constexpr size_t kBmpArgument = 7;
constexpr size_t kTitleArgument = 7;
constexpr size_t kArtistArgument = 8;
constexpr size_t kGenreArgument = 7;
constexpr size_t kBpmArgument = 5;
constexpr size_t kRankArgument = 6;
constexpr size_t kTotalArgument = 7;
constexpr size_t kVolWavArgument = 8;
constexpr size_t kMidiFileArgument = 10;
constexpr size_t kPlayerArgument = 8;
constexpr size_t kPlayLevelArgument = 11;
// Channel lines: measure in characters 1-3, channel in 4-5, data from 7.
constexpr size_t kChannelDataColumn = 7;

bool IsChannelLine(std::u32string_view line) { return !line.empty() && line[0] >= U'0' && line[0] <= U'9'; }

bool IsObjectChannel(int32_t channel) {
  return channel == kChannelBackgroundSound || channel == kChannelTempo || channel == kChannelBgaBase ||
         channel == kChannelBgaPoor || channel == kChannelBgaLayer || (channel >= 11 && channel <= 19) ||
         (channel >= 21 && channel <= 29);
}

std::u32string UpperAscii(std::u32string_view text) {
  std::u32string out(text);
  for (char32_t& c : out) {
    if (c >= U'a' && c <= U'z') c -= 32;
  }
  return out;
}

std::u32string_view Argument(std::u32string_view line, size_t column) { return TrimBlanks(MidFrom(line, column)); }

void SetText(std::string& field, std::u32string_view line, size_t column) { field = ToUtf8(Argument(line, column)); }

void SetInteger(int32_t& field, std::u32string_view line, size_t column) {
  if (auto number = ParseNumber(Argument(line, column))) {
    if (auto rounded = RoundToInt32(*number)) field = *rounded;
  }
}

void ReadChannelLine(std::u32string_view line, ChartTables& t) {
  const auto measure = RoundToInt32(LeadingNumber(line.substr(0, 3)));
  const auto channel = RoundToInt32(LeadingNumber(line.substr(std::min<size_t>(3, line.size()), 2)));
  if (!measure) return;
  if (*measure > kMaxMeasure) {
    ++t.dropped.droppedMeasureLines;
    return;
  }
  // Every channel line counts for the measure range, ignored channels too.
  if (*measure > *t.maxMeasure) *t.maxMeasure = *measure;
  if (!channel) return;
  if (!IsObjectChannel(*channel) && *channel != kChannelMeasureLength) return;

  const std::u32string_view data = MidFrom(line, kChannelDataColumn);
  if (*channel == kChannelMeasureLength) {
    if (auto length = ToSingle(LeadingNumber(data))) t.measureLength[*measure] = *length;
    return;
  }
  const size_t pairs = data.size() / 2;
  if (pairs == 0) return;
  const float step = static_cast<float>(kUnitsPerMeasure) / static_cast<float>(pairs);
  for (size_t i = 0; i < pairs; ++i) {
    const std::u32string_view pair = data.substr(2 * i, 2);
    if (pair[0] == U'0' && pair[1] == U'0') continue;
    if (*t.objectCount >= kMaxObjects) {
      ++t.dropped.droppedObjects;
      continue;
    }
    if (*channel >= kFirstSide2Channel) {
      t.sideUsed[1] = kTrue16;
      ++t.totalNotes[1];
    } else if (*channel >= kFirstLaneChannel) {
      t.sideUsed[0] = kTrue16;
      ++t.totalNotes[0];
    }
    ChartObject& object = t.objects[(*t.objectCount)++];
    object = ChartObject{};
    object.channel = *channel;
    object.measure = *measure;
    // The step is single precision; the product is taken in double.
    object.tick = RoundToInt32(static_cast<double>(step) * static_cast<double>(i)).value_or(0);
    object.y = *measure * kUnitsPerMeasure + object.tick;
    object.value = LeadingHex(pair);
  }
}

void ReadHeaderLine(std::u32string_view line, ChartTables& t, const HeaderHooks* hooks) {
  const std::u32string prefix = UpperAscii(line.substr(0, 3));
  ChartHeader& h = *t.header;
  if (prefix == U"WAV" || prefix == U"BMP") {
    if (hooks == nullptr) return;
    const int slot = LeadingHex(line.substr(std::min<size_t>(3, line.size()), 2));
    const auto& hook = prefix == U"WAV" ? hooks->onWav : hooks->onBmp;
    if (hook) hook(slot, Argument(line, prefix == U"WAV" ? kWavArgument : kBmpArgument));
  } else if (prefix == U"STA") {
    // #STAGEFILE: recognised, not shown.
  } else if (prefix == U"TIT") {
    SetText(h.title, line, kTitleArgument);
  } else if (prefix == U"ART") {
    SetText(h.artist, line, kArtistArgument);
  } else if (prefix == U"GEN") {
    SetText(h.genre, line, kGenreArgument);
  } else if (prefix == U"BPM") {
    if (auto number = ParseNumber(Argument(line, kBpmArgument))) {
      if (auto bpm = ToSingle(*number)) h.bpm = *bpm;
    }
  } else if (prefix == U"RAN") {
    SetInteger(h.rank, line, kRankArgument);
  } else if (prefix == U"TOT") {
    SetInteger(h.total, line, kTotalArgument);
  } else if (prefix == U"VOL") {
    SetInteger(h.volWav, line, kVolWavArgument);
  } else if (prefix == U"MID") {
    SetText(h.midiFile, line, kMidiFileArgument);
    if (hooks != nullptr && hooks->onMidiFile) hooks->onMidiFile();
  } else {
    const std::u32string word = UpperAscii(line.substr(0, 6));
    if (word == U"PLAYER") {
      SetInteger(h.player, line, kPlayerArgument);
    } else if (word == U"PLAYLE") {
      SetInteger(h.playLevel, line, kPlayLevelArgument);
    }
  }
}

}  // namespace

void ReadChartLine(std::u32string_view line, ChartTables& tables, const HeaderHooks* hooks) {
  if (IsChannelLine(line)) {
    ReadChannelLine(line, tables);
  } else {
    ReadHeaderLine(line, tables, hooks);
  }
}

}  // namespace vremo
