// Long notes and landmines of the modern reading: a long note's head is
// judged by its press, its tail by the release (or by still holding when the
// tail reaches the line); a mine hurts the gauge when its lane's key is down
// as it crosses the line.
#include <algorithm>
#include <cmath>

#include "chart/long_note_pairs.h"
#include "chart/numbers.h"
#include "play/play_engine.h"

namespace vremo {

void PlayEngine::HoldLongNote(int32_t objectIndex) {
  if (!chart_.modern || !PlayerHolds() || objectIndex < 0 || objectIndex >= chart_.objectCount) return;
  const ChartObject& head = chart_.objects[objectIndex];
  if (head.kind != NoteKind::kLongHead) return;
  const int32_t tail = LongNoteTail(chart_, objectIndex);
  if (tail < 0) return;
  // A head pressed after its tail went by: the key is down past the tail.
  if (tail < state_.nextObject) {
    JudgeAt(tail, 0);
    return;
  }
  state_.laneHeldLong[head.channel - kFirstLaneChannel] = objectIndex;
}

void PlayEngine::LaneReleased(int32_t lane, const PlayMoment& at) {
  if (lane < 0 || lane >= kLaneChannelCount || !PlayerHolds()) return;
  int32_t& held = state_.laneHeldLong[lane];
  if (held == kNoPendingNote) return;
  const int32_t tail = LongNoteTail(chart_, held);
  held = kNoPendingNote;
  if (tail < 0) return;
  // Within the Bad window the release is judged like a press; earlier it
  // lets the note go: Poor, as for a missed note.
  const auto distance = RoundToInt32(std::fabs(UnitsLateAt(chart_.objects[tail].y, at)));
  JudgeAt(tail, distance && *distance <= kBadWindow ? *distance : kMissedNoteLateness);
}

void PlayEngine::FireLongTail(int32_t index) {
  const int32_t lane = chart_.objects[index].channel - kFirstLaneChannel;
  int32_t& held = state_.laneHeldLong[lane];
  if (held == kNoPendingNote || LongNoteTail(chart_, held) != index) return;
  held = kNoPendingNote;
  if (settings_.demoMode) {
    JudgeNote(index, 0);  // at its step, as automatic play judges heads
  } else if (PlayerHolds()) {
    JudgeAt(index, 0);  // held through: released exactly at the tail
  }
}

void PlayEngine::FireMine(const ChartObject& mine) {
  const int32_t laneChannel = mine.channel - kMineChannelOffset;
  if (!PlayerHolds() || !state_.laneKeyDown[laneChannel - kFirstLaneChannel]) return;
  // The value is the damage in gauge percent; no judgement is counted.
  PlayerScore& score = scores_.players[PlayerOf(laneChannel)];
  score.gauge = std::max(kGaugeMin, score.gauge - static_cast<float>(mine.value));
}

}  // namespace vremo
