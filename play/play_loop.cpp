// The play loop: start, the main loop's passes, the wait for the last sounds
// and the end of a play; the 10 ms play timer.
#include "play/play_engine.h"

#include <algorithm>
#include <cerrno>

#include "chart/file_bytes.h"
#include "chart/numbers.h"
#include "play/score_log.h"

namespace vremo {
namespace {

constexpr int32_t kSkipDrawingExtraSleepMs = 5;  // a minimized window plays more gently
constexpr float kGaugeSmoothing = 0.1f;

}  // namespace

PlayEngine::PlayEngine(Chart& chart, const Settings& settings, SoundBank& sounds, Clock& clock, DebugLog& log,
                       PlayHost& host)
    : chart_(chart), settings_(settings), sounds_(sounds), clock_(clock), log_(log), host_(host) {
  state_.lanePendingNote.fill(kNoPendingNote);
  state_.laneHeldLong.fill(kNoPendingNote);
  scores_.ResetPlayers();
}

void PlayEngine::SetFrameDrawer(FrameDrawer* drawer) { drawer_ = drawer != nullptr ? drawer : &nullDrawer_; }

void PlayEngine::PlayLoop() {
  StartPlay();
  while (PlayPass()) {
  }
}

void PlayEngine::StartPlay() {
  state_.stopRequested = false;
  state_.running = true;
  log_.PutLog("PlayLoop --------");
  log_.PutLog("  initialize...");
  state_.lanePendingNote.fill(kNoPendingNote);
  state_.laneHeldLong.fill(kNoPendingNote);
  // The judged flags, up to and including the entry after the last object.
  const int32_t lastIndex = std::min(chart_.objectCount, kMaxObjects - 1);
  for (int32_t i = 0; i <= lastIndex; ++i) chart_.objects[i].done = 0;
  for (int slot = 0; slot < kMaxMediaSlots; ++slot) {
    if (!sounds_.HasSound(slot)) continue;
    sounds_.Rewind(slot);
    sounds_.Stop(slot);
  }
  if (settings_.userRec) record_.StartRecording();
  state_.positionOffset = 0;
  if (chart_.modern) {
    // The clock stays where the seek put it, with the tempo found there.
    SetTempo(chart_.timing.TempoAt(state_.currentPosition) * state_.speed);
  } else {
    SetTempo(static_cast<double>(chart_.bpm) * settings_.realHiSpeed);
  }
  state_.nextRecordEntry = 0;
  nextReplayJudge_ = 0;
  scores_.ResetPlayers();
  log_.PutLog("  playloop start");
  playTimerActive_ = true;
  host_.StartPlayTimer();
  phase_ = Phase::kLooping;
}

bool PlayEngine::PlayPass() {
  switch (phase_) {
    case Phase::kLooping:
      if (RunPass()) return true;
      EndMainLoop();
      if (phase_ == Phase::kWaitingForSounds) return true;
      FinishPlay();
      return false;
    case Phase::kWaitingForSounds:
      if (WaitForSoundsPass()) return true;
      FinishPlay();
      return false;
    case Phase::kIdle:
      break;
  }
  return false;
}

bool PlayEngine::RunPass() {
  StepFrame();
  // About once a second, right after the frame meter rolled over.
  if (state_.framesThisSecond == 1) SetSeekBar();
  host_.ProcessMessages();
  const int64_t sleepMs = int64_t{settings_.sleepMs} + (state_.skipDrawing ? kSkipDrawingExtraSleepMs : 0);
  const auto pauseMs = static_cast<int32_t>(std::min<int64_t>(sleepMs, INT32_MAX));
  if (settings_.vsync) {
    host_.WaitForRefresh(pauseMs);
  } else {
    host_.Sleep(pauseMs);
  }
  // Sounds held back by an audio offset still have to play.
  const bool soundsLeft = SoundsAhead() && nextSoundObject_ < chart_.objectCount;
  return (state_.nextObject < chart_.objectCount || soundsLeft) && !state_.stopRequested;
}

void PlayEngine::EndMainLoop() {
  if (playTimerActive_) {
    playTimerActive_ = false;
    host_.KillPlayTimer();
  }
  log_.PutLog("  play-loop end.");
  if (settings_.dontWait) return;
  log_.PutLog("  waiting for sounds stop...");
  phase_ = Phase::kWaitingForSounds;
}

bool PlayEngine::WaitForSoundsPass() {
  SoundOverview overview;
  overview.barWidth.fill(-1.0);
  for (int slot = 0; slot < kMaxMediaSlots; ++slot) {
    if (!sounds_.HasSound(slot)) continue;
    const int32_t cursor = sounds_.PlayCursor(slot);
    if (cursor == 0) continue;
    ++overview.soundingCount;
    const int32_t length = sounds_.LengthBytes(slot);
    if (slot >= kMediaSlots) continue;  // the overview shows the classic slots
    overview.barWidth[slot] =
        length > 0 ? static_cast<double>(cursor) / length * kOverviewCellPixels : kOverviewCellPixels;
  }
  drawer_->DrawSoundOverview(overview);
  host_.ShowSongInfo("curpoly: " + std::to_string(overview.soundingCount));
  host_.ProcessMessages();
  host_.Sleep(settings_.sleepMs);
  if (overview.soundingCount >= 1 && !state_.stopRequested) return true;
  log_.PutLog("  sounds stopped.");
  return false;
}

void PlayEngine::FinishPlay() {
  if (playTimerActive_) {  // a driver that skipped EndMainLoop
    playTimerActive_ = false;
    host_.KillPlayTimer();
  }
  state_.running = false;
  SetSeekBar();
  for (int slot = 0; slot < kMaxMediaSlots; ++slot) {
    if (!sounds_.HasSound(slot)) continue;
    sounds_.Stop(slot);
    sounds_.Rewind(slot);
  }
  if (settings_.userPlay && !state_.stopRequested && !settings_.demoMode) WriteResults();
  host_.PlayControlsEnabled();
  if (settings_.userRec) host_.RecordingEnded();
  log_.PutLog("PlayLoop complete");
  log_.SetCaption("[" + chart_.genre + "] " + chart_.title + " / " + chart_.artist);
  phase_ = Phase::kIdle;
}

void PlayEngine::WriteResults() {
  // A score log that cannot be written is skipped with its log line; the
  // play still ends.
  if (!AppendScoreLog(scoreLogFolder_, chart_, scores_, settings_)) {
    log_.PutLog(FileWriteErrorLine(std::string(kScoreLogFileName), errno));
  }
  // Mines move the gauge without a judgement: modern plays show where it ended.
  LogScoreFigures(log_, scores_, chart_.modern);
  host_.ShowSongInfo(ResultLine(playResult_));
}

void PlayEngine::SetSeekBar() {
  // Positions past the 16-bit bar cannot be shown; the bar stays as it was.
  if (auto value = RoundToInt16(state_.currentPosition)) host_.SetSeekBarByProgram(*value);
}

void PlayEngine::PlayTimerProc() {
  for (int p = 1; p >= 0; --p) {
    PlayerScore& score = scores_.players[p];
    score.displayedGauge += (score.gauge - score.displayedGauge) * kGaugeSmoothing;
  }
  if (state_.stopRequested || !state_.running) {
    if (playTimerActive_) {
      playTimerActive_ = false;
      host_.KillPlayTimer();
    }
    return;
  }
  StepFrame();
}

}  // namespace vremo
