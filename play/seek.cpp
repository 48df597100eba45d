// Moving the play clock to another position or measure.
#include "chart/numbers.h"
#include "play/play_engine.h"

namespace vremo {

void PlayEngine::SetPlayPosition(int32_t& target, bool byPosition) {
  state_.basePicture = kNoPicture;
  state_.layerPicture = kNoPicture;
  const int32_t upper = byPosition ? chart_.LastY() : chart_.maxMeasure;
  if (target < 0 || target > upper) {
    log_.PutLog("Err: Range over");
    return;
  }
  SetTempo(static_cast<double>(chart_.bpm) * settings_.realHiSpeed);
  state_.laneHeldLong.fill(kNoPendingNote);  // a seek lets go of long notes
  state_.nextSoundChange = 0;
  state_.nextObject = 0;
  state_.positionOffset = 0;
  state_.missPicture = 0;
  scores_.missFlag = false;

  // Replays every tempo change passed with the play loop's rule, the time of
  // each change worked out from its position.
  int32_t i = 0;
  for (; i < chart_.objectCount; ++i) {
    const ChartObject& object = chart_.objects[i];
    if (byPosition ? object.y >= target : (object.channel == kChannelBarLine && object.measure == target)) break;
    // The modern clock takes its tempos from the timing map.
    if (object.channel != kChannelTempo || chart_.modern) continue;
    const double elapsedAtChange = (object.y - static_cast<double>(state_.positionOffset)) / state_.rate;
    const double shift = (object.value - static_cast<double>(state_.scaledTempo)) / kMsPerUnitAtBpm1 * elapsedAtChange;
    state_.positionOffset = RoundToInt32(state_.positionOffset - shift).value_or(state_.positionOffset);
    SetTempo(object.value * static_cast<double>(settings_.realHiSpeed));
  }
  if (!byPosition && i < chart_.objectCount) target = chart_.objects[i].y;
  // One object back, so the object just before the target fires again when
  // it is not too late.
  if (i > 0) state_.nextObject = i - 1;
  nextSoundObject_ = state_.nextObject;

  if (chart_.modern) {
    SetModernClock(chart_.timing.TimeAt(target));
    state_.currentPosition = target;
    ShowPlayStatus();
    return;
  }
  const int32_t now = clock_.TickCount();
  const double back = (target - static_cast<double>(state_.positionOffset)) / state_.rate;
  state_.startTick = RoundToInt32(now - back).value_or(state_.startTick);
  state_.currentPosition = target;
  state_.elapsed = TicksBetween(clock_.TickCount(), state_.startTick);
  ShowPlayStatus();
}

}  // namespace vremo
