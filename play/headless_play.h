#pragma once
// Playing a whole loaded chart with no window: a VirtualClock stands in for
// the tick counter and advances by the Sleep setting each pass, scripted key
// presses arrive at their times through the lane-key rules, the 10 ms play
// timer runs on virtual time, and the pending- and missed-note rules run at
// every frame as the renderer would run them. The play ends as a live one
// does (sound wait unless DontWait, score log after a user play). Backs the
// offline render and regression tool modes. Main thread.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "chart/chart.h"
#include "chart/debug_log.h"
#include "play/clock.h"
#include "play/frame_drawer.h"
#include "play/lane_keys.h"
#include "play/play_engine.h"
#include "play/play_host.h"
#include "play/settings.h"
#include "play/sound_bank.h"

namespace vremo {

// Height of the play field the judge rules assume: the full-screen height.
inline constexpr int32_t kHeadlessDrawHeight = 480;
// Virtual time must move on every pass, even at Sleep 0.
inline constexpr int32_t kMinimumSleepMs = 1;
// A play that outlasts its song by this much has stalled (tempo 0, say).
inline constexpr int32_t kHeadlessTimeMarginMs = 600000;

// One scripted key event, timeMs after the play started. It arrives at the
// first pass at or after that time (as a window's events wait for the loop's
// message processing) and carries timeMs as the time the key moved, where
// JudgeAtKeyTime judges it.
struct KeyEvent {
  int32_t timeMs = 0;
  bool down = false;
  int32_t keyCode = 0;  // Windows virtual-key code, 0-255
};

// Lines "MILLISECONDS down|up VK" (decimal virtual-key code); blank lines and
// lines starting with "#" are skipped. Events come back ordered by time, in
// file order for equal times. Empty with `error` set ("line N: ...") for any
// other line.
std::optional<std::vector<KeyEvent>> ParseKeyScript(std::string_view text, std::string& error);

struct HeadlessOptions {
  int32_t startPosition = 0;
  int32_t drawHeight = kHeadlessDrawHeight;
  std::string scoreLogFolder = ".";
  // Virtual milliseconds after which the play is stopped; 0 for the song's
  // length at the RealHiSpeed factor plus kHeadlessTimeMarginMs.
  int64_t timeLimitMs = 0;
  // A renderer for offline frames, or none.
  FrameDrawer* drawer = nullptr;
  // Off when `drawer` is a real renderer that runs the judge rules itself.
  bool judgeInDriver = true;
  // Called after every sleep with the clock's new tick (an offline mix
  // follows the clock through it).
  std::function<void(int32_t tick)> afterSleep;
};

struct HeadlessResult {
  bool stopped = false;      // the play did not run to its end
  int32_t elapsedMs = 0;     // virtual time from start to finish
  int64_t passes = 0;        // passes of the loop and of the sound wait
  std::string lastSongInfo;  // the last status text shown
};

// A sound bank with no sounds, for runs that need no audio.
class SilentSoundBank : public SoundBank {
 public:
  bool HasSound(int) const override { return false; }
  void Restart(int, double) override {}
  void Stop(int) override {}
  void Rewind(int) override {}
  void SetFrequency(int, int32_t) override {}
  int32_t BaseFrequency(int) const override { return 0; }
  int32_t PlayCursor(int) const override { return 0; }
  int32_t LengthBytes(int) const override { return 0; }
};

class HeadlessPlay : private PlayHost, private FrameDrawer {
 public:
  HeadlessPlay(Chart& chart, Settings& settings, SoundBank& sounds, const KeyMap& keyMap, DebugLog& log,
               VirtualClock& clock, HeadlessOptions options = {});

  // Plays from options.startPosition to the end; the clock goes on from
  // where it stands.
  HeadlessResult Run(const std::vector<KeyEvent>& events);

  PlayEngine& engine() { return engine_; }
  LaneKeyInput& keys() { return keys_; }

 private:
  // PlayHost
  void ProcessMessages() override;
  void Sleep(int32_t ms) override;
  void ShowSongInfo(std::string_view text) override { lastSongInfo_ = text; }
  void StartPlayTimer() override { lastTimerTick_ = clock_.TickCount(); }
  void RecordingEnded() override { settings_.userRec = false; }
  // FrameDrawer
  void DrawFrame(int32_t nextObjectIndex) override;
  void DrawSoundOverview(const SoundOverview& overview) override;

  int64_t TimeLimitMs() const;

  Settings& settings_;
  VirtualClock& clock_;
  DebugLog& log_;
  HeadlessOptions options_;
  PlayEngine engine_;
  LaneKeyInput keys_;

  const std::vector<KeyEvent>* events_ = nullptr;
  size_t nextEvent_ = 0;
  int32_t startTick_ = 0;
  int32_t lastTimerTick_ = 0;
  int64_t timeLimitMs_ = 0;
  std::string lastSongInfo_;
};

}  // namespace vremo
