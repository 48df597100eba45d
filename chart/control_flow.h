#pragma once
// The modern reading's control flow: #RANDOM / #SETRANDOM with #IF, #ELSEIF,
// #ELSE, #ENDIF, #ENDRANDOM, and #SWITCH / #SETSWITCH with #CASE, #SKIP,
// #DEF, #ENDSW, nested, in any letter case. The reader feeds it every line;
// it says which lines are directives and whether the others count. Draws
// come from a ChartRandom and go to the debug log. One load, one thread.

#include <cstdint>
#include <random>
#include <string_view>
#include <vector>

#include "chart/debug_log.h"

namespace vremo {

// The random source of one load. Draw(n) is 1 + floor(x * n / 2^32) for the
// generator's next 32-bit x: evenly spread and the same on every platform.
class ChartRandom {
 public:
  explicit ChartRandom(uint32_t seed) : engine_(seed) {}
  int32_t Draw(int32_t range);  // 1..range; range >= 1

 private:
  std::mt19937 engine_;
};

class ControlFlow {
 public:
  ControlFlow(ChartRandom& random, DebugLog& log) : random_(random), log_(log) {}

  // `line` is the text after "#". True when it is a directive (handled
  // here, not to be read as a chart line).
  bool Feed(std::u32string_view line);
  // Whether the chart lines met now count (false inside a block not taken).
  bool Active() const { return frames_.empty() || frames_.back().active; }
  bool Drew() const { return drew_; }  // a #RANDOM or #SWITCH was drawn

 private:
  enum class Kind : uint8_t { kRandom, kIf, kSwitch };
  struct Frame {
    Kind kind = Kind::kRandom;
    bool outer = true;     // the enclosing block counts
    bool active = true;    // lines inside count
    bool matched = false;  // an #IF branch or a #CASE was taken
    bool skipped = false;  // #SKIP left the switch
    int32_t value = 0;     // the random or switch value
  };
  void Open(Kind kind, int32_t value);
  void Close(Kind kind);
  int32_t Draw(std::u32string_view word, int32_t range);
  int32_t CurrentValue() const;

  ChartRandom& random_;
  DebugLog& log_;
  std::vector<Frame> frames_;
  bool drew_ = false;
};

}  // namespace vremo
