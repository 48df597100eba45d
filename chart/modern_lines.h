#pragma once
// One "#" line of the modern reading (control lines already taken out):
// header commands matched by their whole word, base-36 slots, fractional
// tempos, #BPMxx / #EXBPMxx, #STOPxx, #LNTYPE, #LNOBJ, and channel lines whose
// objects are kept exactly (pair i of n on its measure). Pure; one thread.

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "chart/bms_lines.h"
#include "chart/chart.h"

namespace vremo {

// A channel as the file writes it, its two characters read as base 36.
constexpr int32_t ChannelCode(char high, char low) {
  auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'A' + 10; };
  return digit(high) * 36 + digit(low);
}
inline constexpr int32_t kCodeBackgroundSound = ChannelCode('0', '1');
inline constexpr int32_t kCodeMeasureLength = ChannelCode('0', '2');
inline constexpr int32_t kCodeTempo = ChannelCode('0', '3');
inline constexpr int32_t kCodeTempoTable = ChannelCode('0', '8');
inline constexpr int32_t kCodeStop = ChannelCode('0', '9');
// The first channel of each group of nine lanes: side 1 and side 2 notes,
// long notes, and mines.
inline constexpr int32_t kCodeSide1 = ChannelCode('1', '1');
inline constexpr int32_t kCodeSide2 = ChannelCode('2', '1');
inline constexpr int32_t kCodeLongSide1 = ChannelCode('5', '1');
inline constexpr int32_t kCodeLongSide2 = ChannelCode('6', '1');
inline constexpr int32_t kCodeMineSide1 = ChannelCode('D', '1');
inline constexpr int32_t kCodeMineSide2 = ChannelCode('E', '1');
inline constexpr int32_t kLanesPerGroup = 9;

// Which of the groups above a code is in, and its lane (0-8 for
// 11-19 / 51-59 / D1-D9, 9-17 for the side 2 ones); empty when in none.
struct LaneOf {
  int32_t group = 0;  // kCodeSide1, kCodeLongSide1 or kCodeMineSide1
  int32_t lane = 0;
};
namespace detail {
// Per code: the group + 1 (0 for none) and the lane.
struct LaneEntry {
  int16_t groupPlusOne = 0;
  int16_t lane = 0;
};
constexpr std::array<LaneEntry, kMaxMediaSlots> LaneTable() {
  std::array<LaneEntry, kMaxMediaSlots> codes{};
  for (int32_t group : {kCodeSide1, kCodeLongSide1, kCodeMineSide1}) {
    // Side 2 lies one base-36 "ten" above side 1 (21 after 11, E1 after D1).
    for (int32_t side = 0; side < 2; ++side) {
      for (int32_t k = 0; k < kLanesPerGroup; ++k) {
        codes[group + side * 36 + k] = {static_cast<int16_t>(group + 1),
                                        static_cast<int16_t>(side * kLanesPerGroup + k)};
      }
    }
  }
  return codes;
}
inline constexpr std::array<LaneEntry, kMaxMediaSlots> kLaneTable = LaneTable();
}  // namespace detail

inline std::optional<LaneOf> LaneOfCode(int32_t code) {
  if (code < 0 || code >= kMaxMediaSlots || detail::kLaneTable[code].groupPlusOne == 0) return std::nullopt;
  return LaneOf{detail::kLaneTable[code].groupPlusOne - 1, detail::kLaneTable[code].lane};
}

// One object as read: exact position from measure and pair index.
struct ModernObject {
  int32_t measure = 0;
  int32_t index = 0;      // pair i ...
  int32_t count = 1;      // ... of n on its line
  int16_t code = 0;       // channel, see ChannelCode
  int16_t pair = 0;       // the pair read as base 36 (as hexadecimal for 03)
  double position = 0.0;  // units from measure 0, once the lengths are known
};

inline constexpr int32_t kModernMaxMeasure = 999;
inline constexpr size_t kModernMaxObjects = size_t{1} << 22;  // against absurd input

// What the modern lines gather besides the chart header.
struct ModernData {
  std::vector<ModernObject> objects;
  std::array<double, kModernMaxMeasure + 1> measureLength{};  // 0 = not set
  int32_t maxMeasure = -1;
  std::optional<double> bpm;  // #BPM as read, fractional
  std::vector<double> tempoTable = std::vector<double>(kMaxMediaSlots, 0.0);
  std::vector<double> stopTable = std::vector<double>(kMaxMediaSlots, 0.0);
  std::vector<bool> longNoteEnd = std::vector<bool>(kMaxMediaSlots, false);  // #LNOBJ
  bool anyLongNoteEnd = false;
  int32_t lnType = 1;
  size_t droppedObjects = 0;
};

void ReadModernLine(std::u32string_view line, ChartHeader& header, ModernData& data, const HeaderHooks* hooks);

}  // namespace vremo
