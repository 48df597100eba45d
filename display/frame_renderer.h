#pragma once
// The frame renderer: draws one frame of play onto the back surface and
// hands it to the presenter. In order: black, BGA, the sound-slot panel
// (PolMode), guide lines, grid, bar lines and notes of both sides (with
// HiSpeed, Accel, Nazo, Reverse, Hidden, Sudden, Stealth), record marks
// (ShowRec), the groove gauge and its percentage, the debug line, the
// hot-key message, the judgement image with the combo number. While drawing
// notes it also runs the judge bookkeeping of user play: each lane's next
// note to judge, and the miss of a note that passed too far.
//
// The play engine calls DrawFrame once per clock step (FrameDrawer); the
// main window makes one renderer and gives it a presenter that paints the
// back surface into the drawing widget. UI thread only.

#include <array>
#include <cstdint>
#include <random>
#include <string>

#include "display/layout.h"
#include "display/media_layer.h"
#include "display/note_geometry.h"
#include "display/surface.h"
#include "play/frame_drawer.h"
#include "play/play_engine.h"
#include "play/sound_bank.h"

namespace vremo {

// The last step of a frame: show the back surface's drawing rectangle.
class FramePresenter {
 public:
  virtual ~FramePresenter() = default;
  virtual void Present(const Surface& back, const Rect& drawRect) = 0;
};

// Presents by stretching onto another surface (a window-sized target).
class SurfacePresenter : public FramePresenter {
 public:
  explicit SurfacePresenter(Surface& target) : target_(target) {}
  void Present(const Surface& back, const Rect& drawRect) override {
    target_.Blt(target_.FullRect(), back, drawRect, ColourKey::kNone);
  }

 private:
  Surface& target_;
};

// The hot-key message stays this long.
inline constexpr int32_t kMessageDurationMs = 1000;
inline constexpr int32_t kMessageX = 2;
inline constexpr int32_t kMessageY = 2;

// A mine the layout names no picture for: a block of this colour with a
// black core.
inline constexpr Colour kMineFallbackColour = Rgb(220, 0, 0);

class FrameRenderer : public FrameDrawer {
 public:
  FrameRenderer(PlayEngine& engine, MediaLayer& media, const Layout& layout, const SoundBank& sounds);

  // FrameDrawer.
  void DrawFrame(int32_t nextObjectIndex) override;
  void DrawSoundOverview(const SoundOverview& overview) override;

  void SetPresenter(FramePresenter* presenter) { presenter_ = presenter; }
  // The hot keys' status message, shown for kMessageDurationMs from now.
  void ShowMessage(std::string text);
  // Direct BGA: the current base picture is drawn straight from its slot
  // until the play is one bar past `position`.
  void SetDirectBga(double position);
  // The BGA is recomposed at the next frame.
  void RequestBgaRefresh() { bgaRefresh_ = true; }
  // The surfaces are remade before the next frame (lost display).
  void RequestRebuild() { rebuild_ = true; }
  void SetDebugDisplay(bool on) { debugDisplay_ = on; }
  // The gauge's flickering end comes from this generator.
  void SeedFlicker(uint32_t seed) { flicker_.seed(seed); }

 private:
  // What one frame reads again and again.
  struct Frame {
    Surface* back = nullptr;
    const Surface* skin = nullptr;
    int32_t height = 0;
    double cur = 0.0;
    double hiSpeed = 0.0;
    SideSwitches sides{};
    int32_t now = 0;  // clock tick
  };

  // frame_renderer.cpp
  void DrawBga(const Frame& frame);
  void DrawBgaDirect(const Frame& frame);
  void DrawSoundPanel(const Frame& frame);
  void DrawDebugLine(const Frame& frame);
  void DrawMessage(const Frame& frame);
  void Present(const Surface& back);

  // lane_renderer.cpp
  void DrawGrid(const Frame& frame);
  void DrawObjects(const Frame& frame, int32_t firstIndex);
  void DrawRecordMarks(const Frame& frame);
  // Draws the lane's image (or `image` in the lane's place) at a y already
  // computed; nothing when the lane has no image.
  void DrawLaneImage(const Frame& frame, int32_t lane, int32_t y);
  void DrawLanePicture(const Frame& frame, int32_t lane, int32_t y, const NoteImage& image);
  bool LaneRect(const Frame& frame, int32_t lane, int32_t y, Rect& rect) const;
  bool LaneRect(const Frame& frame, int32_t lane, int32_t y, const NoteImage& image, Rect& rect) const;
  // Hidden, Stealth and Sudden: a note whose untransformed y is this is not
  // drawn.
  bool NoteHidden(const Frame& frame, int32_t y) const;

  // long_note_renderer.cpp: what only modern charts hold. Long-note bodies
  // go under everything else of the lanes, so they are drawn first.
  void DrawLongBodies(const Frame& frame, int32_t firstIndex);
  void DrawLongBody(const Frame& frame, int32_t head, int32_t tail);
  void FillShadedBody(const Frame& frame, const Rect& rect, const NoteImage& image);
  void DrawLongEnd(const Frame& frame, int32_t index, int32_t y);
  void DrawMine(const Frame& frame, int32_t lane, int32_t y);

  // judge_display.cpp
  void DrawGauge(const Frame& frame);
  void DrawGaugeSide(const Frame& frame, int32_t side);
  void DrawJudgements(const Frame& frame);
  void DrawJudgementSide(const Frame& frame, int32_t side, bool blink);
  void DrawCombo(const Frame& frame, int32_t side, int32_t left, int32_t stretch, int32_t elapsed);

  PlayEngine& engine_;
  MediaLayer& media_;
  const Layout& layout_;
  const SoundBank& sounds_;
  FramePresenter* presenter_ = nullptr;

  bool rebuild_ = false;
  bool bgaRefresh_ = true;
  bool bgaMissShown_ = false;
  bool directBga_ = false;
  double directBgaPosition_ = 0.0;
  bool debugDisplay_ = false;

  std::string message_;
  bool messageShown_ = false;
  int32_t messageTick_ = 0;

  std::minstd_rand flicker_;
  std::array<int32_t, kSideCount> gaugeTextValue_{-1, -1};
  std::array<std::string, kSideCount> gaugeText_;
  std::array<int32_t, kSideCount> fGreatFrame_{};
  int32_t recordStart_ = 0;  // first record entry not yet passed
};

}  // namespace vremo
