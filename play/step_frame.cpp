// One clock step: the time becomes a chart position, and everything that
// became due fires; the status line.
#include <algorithm>
#include <cmath>

#include "chart/long_note_pairs.h"
#include "chart/numbers.h"
#include "play/number_format.h"
#include "play/play_engine.h"

namespace vremo {
namespace {

// A speed that would stall or reverse the modern clock plays at the normal speed.
double ModernSpeed(double factor) { return factor > 0.0 && std::isfinite(factor) ? factor : 1.0; }

constexpr int32_t kFpsIntervalMs = 1000;
constexpr int32_t kMsPerMinute = 60000;
constexpr int32_t kMsPerSecond = 1000;
constexpr int kSecondsDigits = 2;
// Scroll factor = tempo / 240 x 192: pixels per second of a standard measure.
constexpr double kScrollTempoDivisor = 240.0;
// Times on the modern map are sums of fractions: an object whose time equals
// the step's to within this is reached.
constexpr double kModernTimeSlackMs = 1e-6;

}  // namespace

bool IsPlayableChannel(int32_t channel) {
  // Lanes x7 are never played and 20 is side 2's pseudo-lane.
  constexpr int32_t kUnplayedLaneDigit = 7;
  constexpr int32_t kPseudoLaneDigit = 0;
  const int32_t digit = channel % 10;
  return channel >= kFirstLaneChannel && channel <= kLastLaneChannel && digit != kUnplayedLaneDigit &&
         digit != kPseudoLaneDigit;
}

int32_t ChannelGroup(int32_t channel) {
  constexpr int32_t kChannelsPerGroup = 10;
  return channel / kChannelsPerGroup >= 2 ? 1 : 0;
}

void PlayEngine::SetTempo(double scaledTempo) {
  state_.scaledTempo = static_cast<float>(scaledTempo);
  state_.rate = static_cast<float>(state_.scaledTempo / kMsPerUnitAtBpm1);
  state_.scrollFactor = static_cast<float>(state_.scaledTempo / kScrollTempoDivisor * kUnitsPerMeasure);
}

double PlayEngine::ClockTimeOf(double position) const {
  if (chart_.modern) return StepTimeOf(position);
  if (state_.rate == 0.0f) return clock_.TickCount();
  return state_.startTick + (position - state_.positionOffset) / state_.rate;
}

// A tempo change fired in this step must not move the time of the objects
// after it in the same step: they were reached under the step's own formula.
double PlayEngine::StepTimeOf(double position) const {
  if (chart_.modern) return state_.startTick + (chart_.timing.TimeAt(position) - state_.chartMsOffset) / state_.speed;
  if (stepRate_ == 0.0f) return clock_.TickCount();
  return state_.startTick + (position - stepOffset_) / stepRate_;
}

bool PlayEngine::Reached(double y) const { return ReachedAt(y, Now()); }

bool PlayEngine::ReachedAt(double y, const PlayMoment& at) const {
  if (!chart_.modern) return y <= at.position;
  return chart_.timing.TimeAt(y) <= at.chartMs + kModernTimeSlackMs;
}

bool PlayEngine::Passed(double y) const {
  if (!chart_.modern) return y < state_.currentPosition;
  return chart_.timing.TimeAt(y) < state_.chartMs - kModernTimeSlackMs;
}

double PlayEngine::UnitsLate(double y) const { return UnitsLateAt(y, Now()); }

double PlayEngine::UnitsLateAt(double y, const PlayMoment& at) const {
  if (!chart_.modern) return at.position - y;
  return (at.chartMs - chart_.timing.TimeAt(y)) / MsPerUnit(chart_.timing.TempoAt(y));
}

int32_t PlayEngine::StepTick() const {
  return static_cast<int32_t>(static_cast<uint32_t>(state_.startTick) + static_cast<uint32_t>(state_.elapsed));
}

PlayMoment PlayEngine::MomentAt(double tick) const {
  const double whole = std::floor(tick);
  const auto wrapped = static_cast<int32_t>(static_cast<uint32_t>(static_cast<int64_t>(whole)));
  const double elapsed = TicksBetween(wrapped, state_.startTick) + (tick - whole);
  if (!chart_.modern) return {elapsed * static_cast<double>(state_.rate) + state_.positionOffset, 0.0};
  const double chartMs = elapsed * state_.speed + state_.chartMsOffset;
  return {chart_.timing.PositionAt(chartMs), chartMs};
}

PlayMoment PlayEngine::PressMoment(std::optional<double> keyTick) const {
  const int32_t shift = OffsetMs(settings_.judgeOffsetMs);
  if (keyTick && settings_.judgeAtKeyTime) return MomentAt(*keyTick - shift);
  if (shift == 0) return Now();
  return MomentAt(static_cast<double>(StepTick()) - shift);
}

double PlayEngine::DisplayPosition() const {
  if (settings_.displayOffsetMs == 0) return state_.currentPosition;
  return MomentAt(static_cast<double>(StepTick()) + OffsetMs(settings_.displayOffsetMs)).position;
}

void PlayEngine::SetModernClock(double ms) {
  state_.speed = ModernSpeed(settings_.realHiSpeed);
  const int32_t now = clock_.TickCount();
  state_.startTick = RoundToInt32(now - ms / state_.speed).value_or(state_.startTick);
  state_.elapsed = TicksBetween(now, state_.startTick);
  state_.chartMsOffset = ms - state_.elapsed * state_.speed;
  state_.chartMs = ms;
  state_.currentPosition = chart_.timing.PositionAt(ms);
  SetTempo(chart_.timing.TempoAt(state_.currentPosition) * state_.speed);
}

void PlayEngine::ChangeSpeed(double factor) {
  if (!state_.running || factor == 0.0) return;
  if (chart_.modern) {
    const double speed = ModernSpeed(factor);
    // The map's time goes on from where it is.
    state_.chartMsOffset += (state_.speed - speed) * state_.elapsed;
    state_.speed = speed;
    SetTempo(chart_.timing.TempoAt(state_.currentPosition) * speed);
    return;
  }
  // Against the chart's first tempo, not the one in force: after a tempo
  // change the position moves as well.
  const double tempo = static_cast<double>(chart_.bpm) * factor;
  if (auto offset =
          RoundToInt32(state_.positionOffset - (tempo - state_.scaledTempo) / kMsPerUnitAtBpm1 * state_.elapsed)) {
    state_.positionOffset = *offset;
  }
  state_.scaledTempo = static_cast<float>(tempo);
  state_.rate = static_cast<float>(tempo / kMsPerUnitAtBpm1);
  state_.scrollFactor = static_cast<float>(tempo / kScrollTempoDivisor * kUnitsPerMeasure);
}

void PlayEngine::RestartSound(int32_t slot, double atMs) {
  if (slot < 0 || slot >= kMaxMediaSlots || !sounds_.HasSound(slot)) return;
  sounds_.Restart(slot, atMs);
}

void PlayEngine::StepFrame() {
  if (state_.dragging) return;
  const int32_t now = clock_.TickCount();
  state_.elapsed = TicksBetween(now, state_.startTick);
  if (chart_.modern) {
    state_.chartMs = state_.elapsed * state_.speed + state_.chartMsOffset;
    state_.currentPosition = chart_.timing.PositionAt(state_.chartMs);
    SetTempo(chart_.timing.TempoAt(state_.currentPosition) * state_.speed);
  } else {
    state_.currentPosition = state_.elapsed * static_cast<double>(state_.rate) + state_.positionOffset;
  }
  stepRate_ = state_.rate;
  stepOffset_ = state_.positionOffset;

  if (static_cast<int64_t>(now) > static_cast<int64_t>(state_.lastFpsTick) + kFpsIntervalMs) {
    state_.lastFpsTick = now;
    state_.framesLastSecond = state_.framesThisSecond;
    state_.framesThisSecond = 0;
    ShowPlayStatus();
  }
  if (!host_.CountsPresentedFrames()) ++state_.framesThisSecond;

  ApplySoundChanges();
  if (settings_.playRec) ReplayRecord();
  const bool soundsAhead = SoundsAhead();
  while (state_.nextObject < chart_.objectCount && Reached(chart_.objects[state_.nextObject].y)) {
    FireObject(state_.nextObject, !soundsAhead && state_.nextObject >= nextSoundObject_);
    ++state_.nextObject;
  }
  if (soundsAhead) {
    FireSoundsAhead();
  } else {
    nextSoundObject_ = std::max(nextSoundObject_, state_.nextObject);
  }
  if (!state_.skipDrawing) drawer_->DrawFrame(state_.nextObject);
  if (settings_.playRec && settings_.judgeAtKeyTime) JudgeReplayedPresses();
  if (state_.nextObject > chart_.objectCount) state_.running = false;
}

void PlayEngine::FireSoundsAhead() {
  const double shiftMs = OffsetMs(settings_.audioOffsetMs);
  const PlayMoment ahead = MomentAt(static_cast<double>(StepTick()) + shiftMs);
  while (nextSoundObject_ < chart_.objectCount && ReachedAt(chart_.objects[nextSoundObject_].y, ahead)) {
    FireObjectSound(nextSoundObject_, ahead, shiftMs);
    ++nextSoundObject_;
  }
}

void PlayEngine::FireObjectSound(int32_t index, const PlayMoment& at, double shiftMs) {
  const ChartObject& object = chart_.objects[index];
  if (UnitsLateAt(object.y, at) >= kLateSoundLimit) return;
  const double atMs = StepTimeOf(object.y) - shiftMs;
  if (object.channel == kChannelBackgroundSound) {
    if (settings_.playSound) RestartSound(object.value, atMs);
  } else if (IsPlayableChannel(object.channel) && object.kind != NoteKind::kLongTail) {
    if (settings_.playKeySound) RestartSound(object.value, atMs);
    if (settings_.demoMode) RestartSound(object.value, atMs);
  }
}

void PlayEngine::ApplySoundChanges() {
  const int32_t count = std::min(chart_.soundChangeCount, kMaxSoundChanges);
  while (state_.nextSoundChange < count && Passed(chart_.soundChanges[state_.nextSoundChange].y)) {
    const KeySoundChange& change = chart_.soundChanges[state_.nextSoundChange];
    const int32_t lane = change.channel - kFirstLaneChannel;
    if (lane >= 0 && lane < kLaneChannelCount) state_.laneKeySound[lane] = change.value;
    ++state_.nextSoundChange;
  }
}

void PlayEngine::ReplayRecord() {
  // Entries lost to an overflowing recording end the replay.
  const int32_t count = record_.StoredCount();
  while (state_.nextRecordEntry < count && Passed(record_.Entry(state_.nextRecordEntry).position)) {
    const PlayRecordEntry& entry = record_.Entry(state_.nextRecordEntry);
    if (!IsRelease(entry) && UnitsLate(entry.position) < kLateSoundLimit)
      RestartSound(entry.sound, StepTimeOf(entry.position));
    ++state_.nextRecordEntry;
  }
}

void PlayEngine::JudgeReplayedPresses() {
  const int32_t count = record_.StoredCount();
  while (nextReplayJudge_ < count && Reached(ExactPosition(record_.Entry(nextReplayJudge_)))) {
    const PlayRecordEntry& entry = record_.Entry(nextReplayJudge_++);
    const int32_t lane = entry.channel - kFirstLaneChannel;
    if (lane < 0 || lane >= kLaneChannelCount) continue;
    const double position = ExactPosition(entry);
    const PlayMoment at = settings_.judgeOffsetMs == 0
                              ? PlayMoment{position, chart_.modern ? chart_.timing.TimeAt(position) : 0.0}
                              : MomentAt(ClockTimeOf(position) - OffsetMs(settings_.judgeOffsetMs));
    state_.laneKeyDown[lane] = !IsRelease(entry);
    if (IsRelease(entry)) {
      LaneReleased(lane, at);
    } else {
      PressLane(lane, at);
    }
  }
}

void PlayEngine::FireObject(int32_t index, bool sounds) {
  ChartObject& object = chart_.objects[index];
  const double lateness = UnitsLate(object.y);
  state_.lastLateness = RoundToInt32(lateness).value_or(state_.lastLateness);
  const bool inTime = lateness < kLateSoundLimit;
  const int32_t channel = object.channel;

  if (channel == kChannelBarLine) {
    state_.measureShown = object.measure;
    ShowPlayStatus();
  } else if (channel >= kFirstInvisibleChannel && channel <= kLastInvisibleChannel) {
    state_.laneKeySound[channel - kFirstInvisibleChannel] = object.value;
  } else if (channel == kChannelBackgroundSound) {
    if (settings_.playSound && inTime && sounds) RestartSound(object.value, StepTimeOf(object.y));
  } else if (channel == kChannelBgaPoor) {
    state_.missPicture = object.value;
  } else if (channel == kChannelBgaBase) {
    state_.basePicture = object.value;
    state_.pictureChanged = true;
  } else if (channel == kChannelBgaLayer) {
    state_.layerPicture = object.value;
    state_.pictureChanged = true;
  } else if (channel == kChannelTempo && !chart_.modern) {
    // The raw value against the scaled tempo: continuous at RealHiSpeed 1,
    // a jump otherwise, which SetPlayPosition reproduces.
    const double shift = (object.value - static_cast<double>(state_.scaledTempo)) / kMsPerUnitAtBpm1 * state_.elapsed;
    state_.positionOffset = RoundToInt32(state_.positionOffset - shift).value_or(state_.positionOffset);
    SetTempo(object.value * static_cast<double>(settings_.realHiSpeed));
  } else if (IsPlayableChannel(channel)) {
    FireLaneObject(index, inTime && sounds);
  } else if (chart_.modern && IsPlayableChannel(channel - kMineChannelOffset)) {
    FireMine(object);
  }
}

void PlayEngine::FireLaneObject(int32_t index, bool sound) {
  const ChartObject& object = chart_.objects[index];
  if (object.kind == NoteKind::kLongTail) {  // silent: the head sounded
    FireLongTail(index);
    return;
  }
  if (settings_.playKeySound && sound) RestartSound(object.value, StepTimeOf(object.y));
  if (settings_.demoMode) {
    if (sound) RestartSound(object.value, StepTimeOf(object.y));
    state_.lanePendingNote[object.channel - kFirstLaneChannel] = kNoPendingNote;
    JudgeNote(index, 0);
  }
  // Automatic play holds the long note down until its tail.
  if (object.kind == NoteKind::kLongHead && !PlayerHolds() && LongNoteTail(chart_, index) >= 0)
    state_.laneHeldLong[object.channel - kFirstLaneChannel] = index;
}

std::string PlayEngine::PlayStatusText() const {
  const int32_t next = std::clamp(state_.nextObject, 0, kMaxObjects - 1);
  const int32_t elapsed = state_.elapsed;
  const int32_t length = chart_.playLengthMs;
  return "<" + std::to_string(state_.framesLastSecond) + "fps> " + std::to_string(chart_.objects[next].measure) + "/" +
         std::to_string(chart_.maxMeasure) + " [" + std::to_string(elapsed / kMsPerMinute) + ":" +
         FormatNumber((elapsed % kMsPerMinute) / kMsPerSecond, kSecondsDigits, 0) + "/" +
         std::to_string(length / kMsPerMinute) + ":" +
         FormatNumber((length % kMsPerMinute) / kMsPerSecond, kSecondsDigits, 0) + "] ";
}

void PlayEngine::ShowPlayStatus() { host_.ShowSongInfo(PlayStatusText()); }

}  // namespace vremo
