// Lane key presses: sound, judgement, record.
#include "play/lane_keys.h"

#include <algorithm>

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

double KeyEventTick(uint64_t stamp, int32_t now, int32_t lastStepTick, int32_t sleepMs) {
  const auto tick = static_cast<int32_t>(static_cast<uint32_t>(stamp));
  const int64_t allowed = int64_t{kKeyStampFrameMs} + std::max(sleepMs, 0);
  if (TicksBetween(now, tick) < 0 || TicksBetween(lastStepTick, tick) > allowed) return now;
  return tick;
}

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

void LaneKeyInput::KeyDown(int32_t keyCode, std::optional<double> keyTick) {
  MarkKeyHeld(keyCode);
  LaneKeyDown(keyCode, keyTick);
}

std::optional<double> LaneKeyInput::KeyTime(std::optional<double> keyTick) const {
  return engine_.settings().judgeAtKeyTime ? keyTick : std::nullopt;
}

void LaneKeyInput::LaneKeyDown(int32_t keyCode, std::optional<double> keyTick) {
  if (!ValidKey(keyCode)) return;
  const int32_t channel = keyMap_[keyCode];
  const int32_t lane = LaneOf(channel);
  PlayState& state = engine_.state();
  if (lane < 0 || state.laneKeyDown[lane]) return;
  state.laneKeyDown[lane] = true;

  const std::optional<double> keyTime = KeyTime(keyTick);
  engine_.RestartSound(state.laneKeySound[lane], keyTime.value_or(engine_.clock().TickCount()));
  engine_.PressLane(lane, engine_.PressMoment(keyTime));
  Record(channel, keyTime, false);
}

void LaneKeyInput::Record(int32_t channel, std::optional<double> keyTime, bool release) {
  if (!engine_.settings().userRec) return;
  const PlayState& state = engine_.state();
  PlayRecordEntry entry;
  entry.measure = RoundToInt32(state.measureShown).value_or(0);
  entry.position = RoundToInt32(state.currentPosition).value_or(0);
  entry.colour = engine_.scores().lastColour;
  entry.channel = channel;
  entry.sound = state.laneKeySound[static_cast<size_t>(channel - kFirstLaneChannel)];
  // Judged at the key's time: the record keeps that position whole, and
  // the releases, so that a replay judges the same.
  if (engine_.settings().judgeAtKeyTime) {
    if (release) entry.spare = kRecordReleaseFlag;
    const double position = keyTime ? engine_.MomentAt(*keyTime).position : state.currentPosition;
    if (!SetExactPosition(entry, position)) entry.spare = 0;
  }
  engine_.record().Append(entry);
}

void LaneKeyInput::KeyUp(int32_t keyCode, std::optional<double> keyTick) {
  if (!ValidKey(keyCode)) return;
  heldKeys_[keyCode] = false;
  const int32_t channel = keyMap_[keyCode];
  const int32_t lane = LaneOf(channel);
  if (lane < 0) return;
  PlayState& state = engine_.state();
  const bool wasDown = state.laneKeyDown[lane];
  state.laneKeyDown[lane] = false;
  const std::optional<double> keyTime = KeyTime(keyTick);
  engine_.LaneReleased(lane, engine_.PressMoment(keyTime));
  if (wasDown && engine_.settings().judgeAtKeyTime) Record(channel, keyTime, true);
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
