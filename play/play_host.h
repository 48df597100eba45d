#pragma once
// What the play engine asks of the program around it while a play runs: let
// pending events run between passes, pause, show the status text, move the
// seek bar, run the 10 ms play timer and hand back the window controls.
// The main window implements it over Qt; the headless driver over a virtual
// clock. Every call comes from the UI thread, from inside a play pass.

#include <cstdint>
#include <string_view>

namespace vremo {

class PlayHost {
 public:
  virtual ~PlayHost() = default;
  // Runs the events that arrived since the last pass: key presses, buttons,
  // commands and, while it is installed, the play timer.
  virtual void ProcessMessages() {}
  // Pauses the loop; the headless driver advances its virtual clock instead.
  virtual void Sleep(int32_t /*ms*/) {}
  // With VSync on, replaces Sleep: waits for the display's next refresh and
  // lets the frame drawn then reach the screen. Without a display, Sleep.
  virtual void WaitForRefresh(int32_t ms) { Sleep(ms); }
  // Whether the host counts the frames it shows (CountPresentedFrame) for
  // the fps meter; otherwise every drawn frame counts.
  virtual bool CountsPresentedFrames() const { return false; }
  // The song-information display under the drawing area.
  virtual void ShowSongInfo(std::string_view /*text*/) {}
  // Sets the seek bar without seeking (the value the bar's own handler
  // ignores because the program set it).
  virtual void SetSeekBarByProgram(int16_t /*position*/) {}
  // Install and remove the 10 ms timer that calls PlayEngine::PlayTimerProc.
  virtual void StartPlayTimer() {}
  virtual void KillPlayTimer() {}
  // The play has finished: enable the controls disabled for it.
  virtual void PlayControlsEnabled() {}
  // A recorded play has finished: untick the record switch, whose handler
  // clears UserRec and offers to save the record.
  virtual void RecordingEnded() {}
};

}  // namespace vremo
