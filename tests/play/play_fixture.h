#pragma once
// A play engine on a virtual clock with a sound bank and a host that record what the engine asked for and
// showed, and charts loaded from texts written into a temporary folder.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "chart/bms_reader.h"
#include "play/headless_play.h"
#include "play/play_engine.h"

#include "tests/support/temp_folder.h"

namespace vremo::testing {

struct SoundCall {
  int slot;
  double atMs;
  bool operator==(const SoundCall&) const = default;
};

// Slots in `loaded` hold a sound that plays `lengthMs` after each restart.
class RecordingSoundBank : public SoundBank {
 public:
  explicit RecordingSoundBank(const Clock& clock) : clock_(clock) {}
  bool HasSound(int slot) const override { return loaded.count(slot) > 0; }
  void Restart(int slot, double atMs) override {
    restarts.push_back({slot, atMs});
    endTick[slot] = clock_.TickCount() + lengthMs;
  }
  void Stop(int slot) override { endTick.erase(slot); }
  void Rewind(int) override {}
  void SetFrequency(int, int32_t) override {}
  int32_t BaseFrequency(int) const override { return 44100; }
  int32_t PlayCursor(int slot) const override {
    auto it = endTick.find(slot);
    return it != endTick.end() && clock_.TickCount() < it->second ? 100 : 0;
  }
  int32_t LengthBytes(int) const override { return 400; }

  std::set<int> loaded{1, 2, 3, 5, 7};
  int32_t lengthMs = 0;
  std::vector<SoundCall> restarts;
  std::map<int, int32_t> endTick;

 private:
  const Clock& clock_;
};

class RecordingHost : public PlayHost {
 public:
  explicit RecordingHost(VirtualClock& clock) : clock_(clock) {}
  void ProcessMessages() override {
    if (onMessages) onMessages();
  }
  void Sleep(int32_t ms) override { clock_.Advance(ms); }
  void ShowSongInfo(std::string_view text) override { songInfo.emplace_back(text); }
  void SetSeekBarByProgram(int16_t position) override { seekBar.push_back(position); }
  void StartPlayTimer() override { ++timerStarts; }
  void KillPlayTimer() override { ++timerKills; }

  std::function<void()> onMessages;
  std::vector<std::string> songInfo;
  std::vector<int16_t> seekBar;
  int timerStarts = 0;
  int timerKills = 0;

 private:
  VirtualClock& clock_;
};

class PlayFixture : public ::testing::Test {
 protected:
  static constexpr int32_t kFrameHeight = 480;

  // Loads a chart text (CR LF line ends added); fails the test when it does not load.
  void LoadLines(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines) text += line + "\r\n";
    ASSERT_EQ(LoadChart(folder.Write("song.bms", text), *chart, context), kLoadOk);
    sink.lines.clear();
  }
  void StepAt(int32_t tick) {
    clock.Set(tick);
    engine.StepFrame();
  }
  // A step followed by the judge rules a 480-pixel frame runs.
  void StepAndJudge(int32_t tick) {
    StepAt(tick);
    engine.RunJudgeBookkeeping(engine.state().nextObject, kFrameHeight);
  }
  // Moves the play to `target` (a position, or a measure); returns what the engine made of it.
  int32_t Seek(int32_t target, bool byPosition = true) {
    engine.SetPlayPosition(target, byPosition);
    return target;
  }
  bool Logged(const std::string& line) const {
    return std::find(sink.lines.begin(), sink.lines.end(), line) != sink.lines.end();
  }

  TempFolder folder;
  std::unique_ptr<Chart> chart = std::make_unique<Chart>();
  MemoryLogSink sink;
  DebugLog log{&sink};
  NullMediaLoader media;
  LoadContext context{log, media, LoadOptions{}, {}};
  Settings settings;
  VirtualClock clock;
  RecordingSoundBank sounds{clock};
  RecordingHost host{clock};
  PlayEngine engine{*chart, settings, sounds, clock, log, host};
};

// Headless plays of the loaded chart that log their scores into the folder.
class HeadlessFixture : public PlayFixture {
 protected:
  HeadlessFixture() { options.scoreLogFolder = folder.path(); }
  // Plays from tick 0 with the key events; later calls go on with the same play and its recorded presses.
  HeadlessResult Play(const std::vector<KeyEvent>& events) {
    if (!play) play.emplace(*chart, settings, sounds, keyMap, log, clock, options);
    clock.Set(0);
    return play->Run(events);
  }
  KeyMap keyMap = DefaultKeyMap();
  HeadlessOptions options;
  std::optional<HeadlessPlay> play;
};

// Appends an object to a chart filled by hand (keep them in position order).
inline void AddObject(Chart& chart, int32_t y, int32_t channel, int32_t value, int32_t measure = 0) {
  ChartObject& object = chart.objects[chart.objectCount++];
  object = ChartObject{};
  object.y = y;
  object.channel = channel;
  object.value = value;
  object.measure = measure;
}
// Appends {y, channel, value[, measure]} objects, as AddObject does.
struct Placed {
  int32_t y, channel, value, measure = 0;
};
inline void AddObjects(Chart& chart, std::initializer_list<Placed> objects) {
  for (const Placed& o : objects) AddObject(chart, o.y, o.channel, o.value, o.measure);
}

// A chart filled by hand that plays by the modern reading, its timing map
// starting at `bpm` (add tempo changes and stops to chart.timing), one gauge
// step and one point a note on each side.
inline void MakeModern(Chart& chart, double bpm) {
  chart.modern = true;
  chart.bpm = static_cast<float>(bpm);
  chart.timing.Reset(bpm);
  chart.sidePlayer = {0, 1};
  chart.gaugePerNote = {1.0f, 1.0f};
  chart.pointsPerNote = {1.0, 1.0};
}
// Appends a long note's head and tail (keep them in position order with the rest).
inline void AddLongNote(Chart& chart, int32_t headY, int32_t tailY, int32_t channel, int32_t value) {
  AddObject(chart, headY, channel, value);
  chart.objects[chart.objectCount - 1].kind = NoteKind::kLongHead;
  AddObject(chart, tailY, channel, value);
  chart.objects[chart.objectCount - 1].kind = NoteKind::kLongTail;
}

}  // namespace vremo::testing
