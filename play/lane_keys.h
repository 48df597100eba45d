#pragma once
// Lane keys during play: a key whose virtual-key code the KeyMap gives a
// lane channel sounds that lane's key sound, judges the lane's pending note
// and, while recording, is appended to the play record. A lane sounds only on
// the press that takes it from released to held, so keyboard auto-repeat and
// a second key of the same lane do not retrigger it.
// The main window's key handlers call it after their hot keys (Windows
// virtual-key codes, translated from Qt by the shell); the headless driver
// calls KeyDown/KeyUp directly. UI thread only.

#include <array>
#include <cstdint>
#include <optional>

#include "chart/chart.h"

namespace vremo {

class PlayEngine;

inline constexpr int32_t kKeyCodeCount = 256;

// Windows virtual-key codes the default table uses beyond letters ('Z' = 90).
inline constexpr int32_t kVkReturn = 13;
inline constexpr int32_t kVkShift = 16;
inline constexpr int32_t kVkSpace = 32;
inline constexpr int32_t kVkComma = 188;
inline constexpr int32_t kVkPeriod = 190;

// Virtual-key code -> lane channel (11-29), 0 for none.
using KeyMap = std::array<int16_t, kKeyCodeCount>;

// A window system's key timestamp is trusted when it lies no further back
// than one frame (60 Hz, rounded up) and the Sleep before the last step.
inline constexpr int32_t kKeyStampFrameMs = 17;

// The tick a key event happened at: its timestamp (milliseconds of the same
// monotonic clock as the play clock, any width) unless that lies in the
// future (after `now`) or too far before `lastStepTick`; then its delivery
// time `now`.
double KeyEventTick(uint64_t stamp, int32_t now, int32_t lastStepTick, int32_t sleepMs);

// Z S X D C F V for keys 1-7 of side 1 with Shift and Space as its scratch;
// N J M K , L . and Enter for side 2.
KeyMap DefaultKeyMap();

class LaneKeyInput {
 public:
  LaneKeyInput(PlayEngine& engine, const KeyMap& keyMap) : engine_(engine), keyMap_(keyMap) {}

  // The first thing every key-down does, hot key or not.
  void MarkKeyHeld(int32_t keyCode);
  // The lane-key rules for a key that is not a hot key. `keyTick` is the
  // clock tick (fractions allowed) at which the key went down, when known;
  // with JudgeAtKeyTime the press is judged and recorded there.
  void LaneKeyDown(int32_t keyCode, std::optional<double> keyTick = std::nullopt);
  // Both, for callers without hot keys.
  void KeyDown(int32_t keyCode, std::optional<double> keyTick = std::nullopt);
  // Releases the key and, when it has a lane, the lane (which lets go of a
  // long note the lane holds).
  void KeyUp(int32_t keyCode, std::optional<double> keyTick = std::nullopt);
  // KeyUp for every key held (the window lost the keyboard).
  void ReleaseAllKeys();

  bool KeyHeld(int32_t keyCode) const;
  bool LaneHeld(int32_t channel) const;

 private:
  // The key's tick when the press is judged at it.
  std::optional<double> KeyTime(std::optional<double> keyTick) const;
  // Appends the press (or, judged at key time, the release) while recording.
  void Record(int32_t channel, std::optional<double> keyTime, bool release);

  PlayEngine& engine_;
  const KeyMap& keyMap_;
  std::array<bool, kKeyCodeCount> heldKeys_{};
};

}  // namespace vremo
