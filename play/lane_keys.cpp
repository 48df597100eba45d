// Lane key presses: sound, judgement, record.
#include "play/lane_keys.h"

#include "chart/numbers.h"
#include "play/play_engine.h"

namespace vremo {
namespace {

bool ValidKey(int32_t keyCode) { return keyCode >= 0 && keyCode < kKeyCodeCount; }

// The lane of a key-map value; -1 for none or for a value no lane has (a
// damaged key file).
int32_t LaneOf(int32_t channel) {
  const int32_t lane = channel - kFirstLaneChannel;
  return lane >= 0 && lane < kLaneChannelCount ? lane : -1;
}

}  // namespace

KeyMap DefaultKeyMap() {
  KeyMap map{};
  map['Z'] = 11;
  map['S'] = 12;
  map['X'] = 13;
  map['D'] = 14;
  map['C'] = 15;
  map['F'] = 18;
  map['V'] = 19;
  map[kVkShift] = 16;
  map[kVkSpace] = 16;
  map['N'] = 21;
  map['J'] = 22;
  map['M'] = 23;
  map['K'] = 24;
  map[kVkComma] = 25;
  map[kVkReturn] = 26;
  map['L'] = 28;
  map[kVkPeriod] = 29;
  return map;
}

void LaneKeyInput::MarkKeyHeld(int32_t keyCode) {
  if (ValidKey(keyCode)) heldKeys_[keyCode] = true;
}

void LaneKeyInput::KeyDown(int32_t keyCode) {
  MarkKeyHeld(keyCode);
  LaneKeyDown(keyCode);
}

void LaneKeyInput::LaneKeyDown(int32_t keyCode) {
  if (!ValidKey(keyCode)) return;
  const int32_t channel = keyMap_[keyCode];
  const int32_t lane = LaneOf(channel);
  PlayState& state = engine_.state();
  if (lane < 0 || state.laneKeyDown[lane]) return;
  state.laneKeyDown[lane] = true;

  engine_.RestartSound(state.laneKeySound[lane], engine_.clock().TickCount());
  const int32_t pending = state.lanePendingNote[lane];
  if (pending != kNoPendingNote) {
    engine_.JudgeNote(pending, 0);
    state.lanePendingNote[lane] = kNoPendingNote;
    engine_.HoldLongNote(pending);
  }
  if (!engine_.settings().userRec) return;
  PlayRecordEntry entry;
  entry.measure = RoundToInt32(state.measureShown).value_or(0);
  entry.position = RoundToInt32(state.currentPosition).value_or(0);
  entry.colour = engine_.scores().lastColour;
  entry.channel = channel;
  entry.sound = state.laneKeySound[lane];
  engine_.record().Append(entry);
}

void LaneKeyInput::KeyUp(int32_t keyCode) {
  if (!ValidKey(keyCode)) return;
  heldKeys_[keyCode] = false;
  const int32_t lane = LaneOf(keyMap_[keyCode]);
  if (lane < 0) return;
  engine_.state().laneKeyDown[lane] = false;
  engine_.LaneReleased(lane);
}

void LaneKeyInput::ReleaseAllKeys() {
  for (int32_t keyCode = 0; keyCode < kKeyCodeCount; ++keyCode) {
    if (heldKeys_[keyCode]) KeyUp(keyCode);
  }
}

bool LaneKeyInput::KeyHeld(int32_t keyCode) const { return ValidKey(keyCode) && heldKeys_[keyCode]; }

bool LaneKeyInput::LaneHeld(int32_t channel) const {
  const int32_t lane = LaneOf(channel);
  return lane >= 0 && engine_.state().laneKeyDown[lane];
}

}  // namespace vremo
