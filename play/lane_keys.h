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

// Z S X D C F V for keys 1-7 of side 1 with Shift and Space as its scratch;
// N J M K , L . and Enter for side 2.
KeyMap DefaultKeyMap();

class LaneKeyInput {
 public:
  LaneKeyInput(PlayEngine& engine, const KeyMap& keyMap) : engine_(engine), keyMap_(keyMap) {}

  // The first thing every key-down does, hot key or not.
  void MarkKeyHeld(int32_t keyCode);
  // The lane-key rules for a key that is not a hot key.
  void LaneKeyDown(int32_t keyCode);
  // Both, for callers without hot keys.
  void KeyDown(int32_t keyCode);
  // Releases the key and, when it has a lane, the lane (which lets go of a
  // long note the lane holds).
  void KeyUp(int32_t keyCode);
  // KeyUp for every key held (the window lost the keyboard).
  void ReleaseAllKeys();

  bool KeyHeld(int32_t keyCode) const;
  bool LaneHeld(int32_t channel) const;

 private:
  PlayEngine& engine_;
  const KeyMap& keyMap_;
  std::array<bool, kKeyCodeCount> heldKeys_{};
};

}  // namespace vremo
