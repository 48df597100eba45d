#pragma once
// The play engine: runs the one loaded Chart from a chosen position to its
// end against a millisecond clock. Each step converts the time into a chart
// position and fires what became due (background and key sounds, picture
// changes, tempo changes, replayed presses); judgement and scoring, seeking
// and stopping work on the same state. A chart of the modern reading takes
// its positions from its timing map (stops hold the position while time
// runs) and adds held long notes and landmines.
//
// The loop is exposed pass by pass so that a driver owns the pacing:
//   engine.SetPlayPosition(start, true);   // optional; 0 otherwise
//   engine.StartPlay();
//   while (engine.PlayPass()) {}           // or PlayLoop(), which does both
// A pass steps the clock, lets the host run its pending events (key presses
// through LaneKeyInput, PlayTimerProc every 10 ms, buttons, commands) and
// sleeps through the host. After the last object it waits for sounds (unless
// DontWait) and finishes: score log, controls, caption.
//
// Everything runs on the UI thread. Handlers that run inside the host's
// event processing may seek, request a stop or press lane keys between two
// passes; nothing else touches the engine.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "chart/chart.h"
#include "chart/debug_log.h"
#include "play/clock.h"
#include "play/frame_drawer.h"
#include "play/judge.h"
#include "play/play_host.h"
#include "play/play_record.h"
#include "play/settings.h"
#include "play/sound_bank.h"

namespace vremo {

// Sounds (background, automatic key sounds, replayed presses) this many units
// or more late are skipped; the object is consumed all the same.
inline constexpr int32_t kLateSoundLimit = 48;
inline constexpr int32_t kPlayTimerId = 50;
inline constexpr int32_t kPlayTimerPeriodMs = 10;
inline constexpr int32_t kFirstInvisibleChannel = 31;
inline constexpr int32_t kLastInvisibleChannel = 49;
inline constexpr int32_t kNoPendingNote = -1;
inline constexpr int32_t kNoPicture = -1;
// Objects before the next one that a frame still draws and judges.
inline constexpr int32_t kObjectsDrawnBehind = 20;

// The played note channels: 11-16, 18, 19, 21-26, 28, 29.
bool IsPlayableChannel(int32_t channel);
// The side index of a lane channel: 0 for 11-19, 1 for 20-29 (channel div 10,
// less one).
int32_t ChannelGroup(int32_t channel);

// Everything the clock, the renderer and the seek operations share.
struct PlayState {
  int32_t startTick = 0;  // tick at elapsed time 0
  int32_t elapsed = 0;
  double currentPosition = 0.0;
  int32_t positionOffset = 0;  // integer term of the position formula
  float scaledTempo = 0.0f;    // tempo in force x RealHiSpeed
  float rate = 0.0f;           // units per millisecond
  float scrollFactor = 0.0f;   // for the renderer
  int32_t nextObject = 0;
  int32_t nextSoundChange = 0;  // into the chart's key-sound schedule
  int32_t nextRecordEntry = 0;
  int32_t lastLateness = 0;  // of the object fired last, for the renderer

  std::array<int32_t, kLaneChannelCount> laneKeySound{};  // lane = channel - 11
  std::array<int32_t, kLaneChannelCount> lanePendingNote{};
  // Modern reading: the head of the long note each lane holds down, or
  // kNoPendingNote. The renderer shortens that note's body from below.
  std::array<int32_t, kLaneChannelCount> laneHeldLong{};
  // Lanes whose key is down now (LaneKeyInput keeps them; mines read them).
  std::array<bool, kLaneChannelCount> laneKeyDown{};

  // Modern reading: the clock runs on the chart's timing map. chartMs is the
  // map's time now, elapsed x speed + chartMsOffset; speed is RealHiSpeed as
  // the clock was last set.
  double chartMs = 0.0;
  double chartMsOffset = 0.0;
  double speed = 1.0;

  int32_t basePicture = kNoPicture;
  int32_t layerPicture = kNoPicture;
  int32_t missPicture = 0;
  bool pictureChanged = false;  // the renderer clears it
  double measureShown = 0.0;

  bool running = false;
  bool stopRequested = false;
  bool dragging = false;     // the user drags the position; steps freeze
  bool skipDrawing = false;  // window minimized

  int32_t framesThisSecond = 0;
  int32_t framesLastSecond = 0;
  int32_t lastFpsTick = 0;
};

// Where the play stood at one tick: the chart position and, for the modern
// reading, the timing map's time (positions stand still through a stop).
struct PlayMoment {
  double position = 0.0;
  double chartMs = 0.0;
};

class PlayEngine {
 public:
  PlayEngine(Chart& chart, const Settings& settings, SoundBank& sounds, Clock& clock, DebugLog& log, PlayHost& host);

  // Where the score log "vremoscore.txt" goes (the program's own folder).
  void SetScoreLogFolder(std::string folder) { scoreLogFolder_ = std::move(folder); }
  void SetFrameDrawer(FrameDrawer* drawer);

  // --- The play loop, whole or pass by pass (play_loop.cpp).
  void PlayLoop();
  void StartPlay();
  // One pass of whatever phase the play is in; false once it has finished.
  bool PlayPass();
  // One pass of the main loop; false when the objects are consumed or a stop
  // was requested.
  bool RunPass();
  // Removes the timer and, unless DontWait, starts the sound wait.
  void EndMainLoop();
  // One pass of the sound wait; false once no sound plays or on a stop.
  bool WaitForSoundsPass();
  void FinishPlay();
  // The 10 ms timer: gauge smoothing, then a clock step.
  void PlayTimerProc();
  bool PlayTimerActive() const { return playTimerActive_; }
  bool Playing() const { return phase_ != Phase::kIdle; }

  // --- Clock steps (step_frame.cpp).
  void StepFrame();
  void ShowPlayStatus();
  std::string PlayStatusText() const;
  // A frame reached the screen: the fps meter of a host that counts them.
  void CountPresentedFrame() { ++state_.framesThisSecond; }
  // The clock tick at which the current tempo reaches `position`.
  double ClockTimeOf(double position) const;
  // Restarts a slot's sound when the slot holds one.
  void RestartSound(int32_t slot, double atMs);
  // Units by which the play is past position y now (negative before it): in
  // position for the classic reading; for the modern one the time to y's
  // moment, in units at the tempo there, so stops count as time.
  double UnitsLate(double y) const;
  // The RealHiSpeed list changed to `factor` (not 0): a running play goes on
  // at the new speed.
  void ChangeSpeed(double factor);
  // The tick of the last clock step.
  int32_t StepTick() const;
  // This step's moment, and the moment the clock in force gives any tick
  // (earlier or later than the step, fractions of a millisecond included).
  PlayMoment Now() const { return {state_.currentPosition, state_.chartMs}; }
  PlayMoment MomentAt(double tick) const;
  // UnitsLate against any moment.
  double UnitsLateAt(double y, const PlayMoment& at) const;
  // The moment a press or release is judged at: with JudgeAtKeyTime the
  // key's own tick (when it has one), otherwise this step; less JudgeOffset.
  PlayMoment PressMoment(std::optional<double> keyTick) const;
  // The moment the pending- and missed-note rules measure from (this step
  // less JudgeOffset), and the position notes are drawn at (this step plus
  // DisplayOffset).
  PlayMoment JudgeMoment() const { return PressMoment(std::nullopt); }
  double DisplayPosition() const;

  // --- Seeking and stopping (seek.cpp).
  // By position: target is a chart position. Otherwise target is a measure
  // number and comes back as the position of its bar line.
  void SetPlayPosition(int32_t& target, bool byPosition);
  void RequestStop() { state_.stopRequested = true; }

  // --- Judgement (judge_rules.cpp).
  // Lateness 0 measures the distance now; any other value is used as given.
  void JudgeNote(int32_t objectIndex, int32_t lateness);
  // Judges with the distance to the note measured at `at`.
  void JudgeNoteAt(int32_t objectIndex, const PlayMoment& at);
  // The pending-note rule for one note the renderer draws at drawnY.
  void ConsiderPendingNote(int32_t objectIndex, int32_t drawnY);
  // The missed-note rule, once per frame.
  void ApplyMissedNotes();
  // A lane key went down at `at`: the lane's pending note is judged and, a
  // long note's head, held.
  void PressLane(int32_t lane, const PlayMoment& at);
  // Both rules over the objects a frame of the given height would show,
  // exactly as the renderer runs them; for drivers without a renderer.
  void RunJudgeBookkeeping(int32_t nextObjectIndex, int32_t drawHeight);

  // --- Long notes and landmines (long_notes.cpp), modern reading only.
  // A press judged the note at `objectIndex`: a long-note head is held.
  void HoldLongNote(int32_t objectIndex);
  // The lane's key went up at `at`: a held long note's tail is judged by the
  // release.
  void LaneReleased(int32_t lane, const PlayMoment& at);
  void LaneReleased(int32_t lane) { LaneReleased(lane, JudgeMoment()); }

  PlayState& state() { return state_; }
  const PlayState& state() const { return state_; }
  ScoreBoard& scores() { return scores_; }
  const ScoreBoard& scores() const { return scores_; }
  PlayRecord& record() { return record_; }
  const Chart& chart() const { return chart_; }
  const Settings& settings() const { return settings_; }
  Clock& clock() { return clock_; }
  // Always 0: nothing ever assigns the play result; kept for its log line.
  double playResult() const { return playResult_; }

 private:
  enum class Phase { kIdle, kLooping, kWaitingForSounds };

  void SetTempo(double scaledTempo);
  // The tick at which this step's clock formula reached `position`.
  double StepTimeOf(double position) const;
  // Whether the step has reached y (objects at y fire), and whether it is
  // past y (the key-sound schedule and the record wait one step at y).
  bool Reached(double y) const;
  bool ReachedAt(double y, const PlayMoment& at) const;
  bool Passed(double y) const;
  // The modern clock at the map's time `ms`, at RealHiSpeed.
  void SetModernClock(double ms);
  // `sounds`: the object's sound plays here (not on the sound cursor) and is
  // in time.
  void FireObject(int32_t index, bool sounds);
  void FireLaneObject(int32_t index, bool sound);
  void FireLongTail(int32_t index);
  void FireMine(const ChartObject& mine);
  // The player (0 or 1) a lane channel counts for.
  int PlayerOf(int32_t laneChannel) const;
  // Judges with `distance` units exactly as given (0 included).
  void JudgeAt(int32_t objectIndex, int32_t distance);
  // The player's own keys hold long notes and meet mines (user play, no DEMO).
  bool PlayerHolds() const { return settings_.userPlay && !settings_.demoMode; }
  void ApplySoundChanges();
  // With an audio offset, sounds run on their own cursor through the
  // objects, AudioOffset ms ahead of the play.
  bool SoundsAhead() const { return settings_.audioOffsetMs != 0; }
  void FireObjectSound(int32_t index, const PlayMoment& at, double shiftMs);
  void FireSoundsAhead();
  void ReplayRecord();
  // With JudgeAtKeyTime a replayed record judges its presses and releases at
  // their recorded positions, as the keys did in the play it recorded.
  void JudgeReplayedPresses();
  void SetSeekBar();
  void WriteResults();

  Chart& chart_;
  const Settings& settings_;
  SoundBank& sounds_;
  Clock& clock_;
  DebugLog& log_;
  PlayHost& host_;
  NullFrameDrawer nullDrawer_;
  FrameDrawer* drawer_ = &nullDrawer_;
  std::string scoreLogFolder_ = ".";

  PlayState state_;
  // The position formula the running step used (tempo changes may follow).
  float stepRate_ = 0.0f;
  int32_t stepOffset_ = 0;
  ScoreBoard scores_;
  PlayRecord record_;
  int32_t nextSoundObject_ = 0;  // the sound cursor (audio offset)
  int32_t nextReplayJudge_ = 0;  // the record entry a replay judges next
  Phase phase_ = Phase::kIdle;
  bool playTimerActive_ = false;
  double playResult_ = 0.0;
};

}  // namespace vremo
