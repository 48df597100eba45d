// Judging notes against the play position: JudgeNote, and the pending-note
// and missed-note rules the renderer runs while it draws a frame.
#include <cmath>

#include "chart/long_note_pairs.h"
#include "chart/numbers.h"
#include "play/play_engine.h"

namespace vremo {

void PlayEngine::JudgeNote(int32_t objectIndex, int32_t lateness) {
  if (objectIndex < 0 || objectIndex >= chart_.objectCount) return;
  if (lateness == 0) {
    JudgeNoteAt(objectIndex, Now());
    return;
  }
  JudgeAt(objectIndex, lateness);
}

void PlayEngine::JudgeNoteAt(int32_t objectIndex, const PlayMoment& at) {
  if (objectIndex < 0 || objectIndex >= chart_.objectCount) return;
  const auto measured = RoundToInt32(std::fabs(UnitsLateAt(chart_.objects[objectIndex].y, at)));
  if (!measured) return;  // a distance past 32 bits cannot be judged
  JudgeAt(objectIndex, *measured);
}

void PlayEngine::PressLane(int32_t lane, const PlayMoment& at) {
  if (lane < 0 || lane >= kLaneChannelCount) return;
  const int32_t pending = state_.lanePendingNote[lane];
  if (pending == kNoPendingNote) return;
  JudgeNoteAt(pending, at);
  state_.lanePendingNote[lane] = kNoPendingNote;
  HoldLongNote(pending);
}

int PlayEngine::PlayerOf(int32_t laneChannel) const {
  return chart_.sidePlayer[ChannelGroup(laneChannel)] == 0 ? 0 : 1;
}

void PlayEngine::JudgeAt(int32_t objectIndex, int32_t distance) {
  if (objectIndex < 0 || objectIndex >= chart_.objectCount) return;
  ChartObject& object = chart_.objects[objectIndex];
  const int player = PlayerOf(object.channel);
  if (scores_.missFlag) {
    state_.pictureChanged = true;
    scores_.missFlag = false;
  }
  JudgeInput input;
  input.lateness = distance;
  input.gaugeStep = chart_.gaugePerNote[player];
  input.pointsUnit = chart_.pointsPerNote[player];
  input.currentPosition = state_.currentPosition;
  input.tick = clock_.TickCount();
  ApplyJudgement(scores_, player, input);
  object.done = kTrue16;
}

void PlayEngine::ConsiderPendingNote(int32_t objectIndex, int32_t drawnY) {
  if (drawnY <= 0 || !settings_.userPlay) return;
  if (objectIndex < 0 || objectIndex >= chart_.objectCount) return;
  const ChartObject& object = chart_.objects[objectIndex];
  // A long note's tail is judged by the release, never by a press.
  if (!IsPlayableChannel(object.channel) || object.kind == NoteKind::kLongTail) return;
  int32_t& pending = state_.lanePendingNote[object.channel - kFirstLaneChannel];
  if (pending != kNoPendingNote || object.done != 0) return;
  if (std::fabs(UnitsLateAt(object.y, JudgeMoment())) < kPendingNoteRange) pending = objectIndex;
}

void PlayEngine::ApplyMissedNotes() {
  if (!settings_.userPlay) return;
  const PlayMoment at = JudgeMoment();
  for (int32_t lane = 0; lane < kLaneChannelCount; ++lane) {
    int32_t& pending = state_.lanePendingNote[lane];
    if (pending < 0 || pending >= chart_.objectCount) continue;
    if (UnitsLateAt(chart_.objects[pending].y, at) < kMissedNoteDistance) continue;
    JudgeNote(pending, kMissedNoteLateness);
    // A long note whose head was missed cannot be held: its tail goes too.
    if (chart_.objects[pending].kind == NoteKind::kLongHead)
      JudgeNote(LongNoteTail(chart_, pending), kMissedNoteLateness);
    // By the lane's own side, not the player map: in double play this clears
    // the unused second combo (the Poor already cleared the player's own).
    scores_.players[ChannelGroup(lane + kFirstLaneChannel)].combo = 0;
    pending = kNoPendingNote;
  }
}

void PlayEngine::RunJudgeBookkeeping(int32_t nextObjectIndex, int32_t drawHeight) {
  if (nextObjectIndex > chart_.objectCount || !settings_.showObj || !settings_.userPlay) return;
  ApplyMissedNotes();
  const double hiSpeed = settings_.hiSpeed;
  const double cur = state_.currentPosition;
  const double visibleEnd = cur + drawHeight / hiSpeed;
  for (int32_t i = std::max(0, nextObjectIndex - kObjectsDrawnBehind);
       i < chart_.objectCount && chart_.objects[i].y < visibleEnd; ++i) {
    const ChartObject& object = chart_.objects[i];
    if (!IsPlayableChannel(object.channel)) continue;
    const auto y = RoundToInt32(drawHeight + (cur - object.y) * hiSpeed);
    if (y) ConsiderPendingNote(i, *y);
  }
}

}  // namespace vremo
