// One clock step: the time becomes a chart position, and everything that
// became due fires; the status line.
#include <algorithm>

#include "chart/numbers.h"
#include "play/number_format.h"
#include "play/play_engine.h"

namespace vremo {
namespace {

constexpr int32_t kFpsIntervalMs = 1000;
constexpr int32_t kMsPerMinute = 60000;
constexpr int32_t kMsPerSecond = 1000;
constexpr int kSecondsDigits = 2;
// Scroll factor = tempo / 240 x 192: pixels per second of a standard measure.
constexpr double kScrollTempoDivisor = 240.0;

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
  if (state_.rate == 0.0f) return clock_.TickCount();
  return state_.startTick + (position - state_.positionOffset) / state_.rate;
}

// A tempo change fired in this step must not move the time of the objects
// after it in the same step: they were reached under the step's own formula.
double PlayEngine::StepTimeOf(double position) const {
  if (stepRate_ == 0.0f) return clock_.TickCount();
  return state_.startTick + (position - stepOffset_) / stepRate_;
}

void PlayEngine::RestartSound(int32_t slot, double atMs) {
  if (slot < 0 || slot >= kMaxMediaSlots || !sounds_.HasSound(slot)) return;
  sounds_.Restart(slot, atMs);
}

void PlayEngine::StepFrame() {
  if (state_.dragging) return;
  const int32_t now = clock_.TickCount();
  state_.elapsed = TicksBetween(now, state_.startTick);
  state_.currentPosition = state_.elapsed * static_cast<double>(state_.rate) + state_.positionOffset;
  stepRate_ = state_.rate;
  stepOffset_ = state_.positionOffset;

  if (static_cast<int64_t>(now) > static_cast<int64_t>(state_.lastFpsTick) + kFpsIntervalMs) {
    state_.lastFpsTick = now;
    state_.framesLastSecond = state_.framesThisSecond;
    state_.framesThisSecond = 0;
    ShowPlayStatus();
  }
  ++state_.framesThisSecond;

  ApplySoundChanges();
  if (settings_.playRec) ReplayRecord();
  while (state_.nextObject < chart_.objectCount && chart_.objects[state_.nextObject].y <= state_.currentPosition) {
    FireObject(state_.nextObject);
    ++state_.nextObject;
  }
  if (!state_.skipDrawing) drawer_->DrawFrame(state_.nextObject);
  if (state_.nextObject > chart_.objectCount) state_.running = false;
}

void PlayEngine::ApplySoundChanges() {
  const int32_t count = std::min(chart_.soundChangeCount, kMaxSoundChanges);
  while (state_.nextSoundChange < count && chart_.soundChanges[state_.nextSoundChange].y < state_.currentPosition) {
    const KeySoundChange& change = chart_.soundChanges[state_.nextSoundChange];
    const int32_t lane = change.channel - kFirstLaneChannel;
    if (lane >= 0 && lane < kLaneChannelCount) state_.laneKeySound[lane] = change.value;
    ++state_.nextSoundChange;
  }
}

void PlayEngine::ReplayRecord() {
  // Entries lost to an overflowing recording end the replay.
  const int32_t count = record_.StoredCount();
  while (state_.nextRecordEntry < count && record_.Entry(state_.nextRecordEntry).position < state_.currentPosition) {
    const PlayRecordEntry& entry = record_.Entry(state_.nextRecordEntry);
    if (state_.currentPosition - entry.position < kLateSoundLimit)
      RestartSound(entry.sound, StepTimeOf(entry.position));
    ++state_.nextRecordEntry;
  }
}

void PlayEngine::FireObject(int32_t index) {
  ChartObject& object = chart_.objects[index];
  const double lateness = state_.currentPosition - object.y;
  state_.lastLateness = RoundToInt32(lateness).value_or(state_.lastLateness);
  const bool inTime = lateness < kLateSoundLimit;
  const int32_t channel = object.channel;

  if (channel == kChannelBarLine) {
    state_.measureShown = object.measure;
    ShowPlayStatus();
  } else if (channel >= kFirstInvisibleChannel && channel <= kLastInvisibleChannel) {
    state_.laneKeySound[channel - kFirstInvisibleChannel] = object.value;
  } else if (channel == kChannelBackgroundSound) {
    if (settings_.playSound && inTime) RestartSound(object.value, StepTimeOf(object.y));
  } else if (channel == kChannelBgaPoor) {
    state_.missPicture = object.value;
  } else if (channel == kChannelBgaBase) {
    state_.basePicture = object.value;
    state_.pictureChanged = true;
  } else if (channel == kChannelBgaLayer) {
    state_.layerPicture = object.value;
    state_.pictureChanged = true;
  } else if (channel == kChannelTempo) {
    // The raw value against the scaled tempo: continuous at RealHiSpeed 1,
    // a jump otherwise, which SetPlayPosition reproduces.
    const double shift = (object.value - static_cast<double>(state_.scaledTempo)) / kMsPerUnitAtBpm1 * state_.elapsed;
    state_.positionOffset = RoundToInt32(state_.positionOffset - shift).value_or(state_.positionOffset);
    SetTempo(object.value * static_cast<double>(settings_.realHiSpeed));
  } else if (IsPlayableChannel(channel)) {
    if (settings_.playKeySound && inTime) RestartSound(object.value, StepTimeOf(object.y));
    if (settings_.demoMode) {
      if (inTime) RestartSound(object.value, StepTimeOf(object.y));
      state_.lanePendingNote[channel - kFirstLaneChannel] = kNoPendingNote;
      JudgeNote(index, 0);
    }
  }
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
