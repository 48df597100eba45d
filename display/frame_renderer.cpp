// DrawFrame's order of steps, the BGA, the sound-slot panel, the debug line,
// the message and the present; the sound-wait overview.
#include "display/frame_renderer.h"

#include <cmath>

#include "chart/numbers.h"
#include "display/bga_composer.h"
#include "play/number_format.h"

namespace vremo {
namespace {

// Objects a little before the next one are still drawn (just passed).
constexpr Colour kDebugForeColour = kBlack;
constexpr Colour kDebugBackColour = kWhite;
constexpr int32_t kDebugLineX = 2;
constexpr int32_t kDebugLineY = 18;
constexpr int kDebugPositionDigits = 5;
constexpr int kDebugPositionDecimals = 2;
constexpr const char* kDebugPositionPad = "   ";

}  // namespace

FrameRenderer::FrameRenderer(PlayEngine& engine, MediaLayer& media, const Layout& layout, const SoundBank& sounds)
    : engine_(engine), media_(media), layout_(layout), sounds_(sounds) {}

void FrameRenderer::ShowMessage(std::string text) {
  message_ = std::move(text);
  messageShown_ = true;
  messageTick_ = engine_.clock().TickCount();
}

void FrameRenderer::SetDirectBga(double position) {
  directBga_ = true;
  directBgaPosition_ = position;
}

void FrameRenderer::DrawFrame(int32_t nextObjectIndex) {
  const Chart& chart = engine_.chart();
  if (nextObjectIndex > chart.objectCount || layout_.loading) return;
  if (rebuild_) {
    rebuild_ = false;
    media_.CreateSurfaces(layout_.bga);
    bgaRefresh_ = true;
  }
  Frame frame;
  frame.back = media_.back();
  if (frame.back == nullptr) return;
  frame.skin = media_.skin();
  frame.height = media_.display().height;
  frame.cur = engine_.DisplayPosition();
  frame.hiSpeed = engine_.settings().hiSpeed;
  frame.sides = SideSwitchesOf(chart);
  frame.now = engine_.clock().TickCount();
  const Settings& settings = engine_.settings();

  frame.back->BltColorFill(media_.display().DrawRect(), kBlack);
  if (settings.showBga) DrawBga(frame);
  if (settings.polMode) DrawSoundPanel(frame);
  if (settings.showObj) {
    const Surface* guide = media_.guide();
    if (settings.showVLine && guide != nullptr)
      frame.back->BltFast(0, 0, *guide, guide->FullRect(), ColourKey::kSource);
    if (settings.showGlid) DrawGrid(frame);
    if (settings.userPlay) engine_.ApplyMissedNotes();
    if (settings.showGauge) DrawGauge(frame);
    DrawObjects(frame, std::max(0, nextObjectIndex - kObjectsDrawnBehind));
    if (settings.showRec) DrawRecordMarks(frame);
  }
  if (debugDisplay_) DrawDebugLine(frame);
  DrawMessage(frame);
  if (settings.userPlay) DrawJudgements(frame);
  Present(*frame.back);
}

void FrameRenderer::DrawBga(const Frame& frame) {
  Surface* work = media_.bgaWork();
  if (work == nullptr) return;
  PlayState& state = engine_.state();
  if (directBga_ && frame.cur > directBgaPosition_ + kUnitsPerMeasure) {
    directBga_ = false;
    bgaRefresh_ = true;
  }
  if (directBga_) {
    DrawBgaDirect(frame);
    return;
  }
  const ScoreBoard& scores = engine_.scores();
  const bool missShown = scores.missFlag && state.missPicture != 0;
  if (bgaRefresh_ || state.pictureChanged || missShown != bgaMissShown_) {
    BgaPictures pictures{state.basePicture, state.layerPicture, state.missPicture, missShown};
    ComposeBga(*work, media_.bgaRect(), media_.pictures(), engine_.chart(), pictures);
    state.pictureChanged = false;
    bgaRefresh_ = false;
    bgaMissShown_ = missShown;
  }
  frame.back->BltFast(layout_.bga.x, layout_.bga.y, *work, media_.bgaRect(), ColourKey::kNone);
}

void FrameRenderer::DrawBgaDirect(const Frame& frame) {
  Surface* work = media_.bgaWork();
  const int32_t slot = engine_.state().basePicture;
  const Surface* picture = media_.pictures().Picture(slot);
  if (picture != nullptr) {
    const Rect size = PictureSize(engine_.chart(), slot, *picture);
    work->BltFast((kBgaSquare - size.Width()) / 2, 0, *picture, size, ColourKey::kNone);
    work->Blt(media_.bgaRect(), *work, Rect{0, 0, kBgaSquare, kBgaSquare}, ColourKey::kNone);
  }
  frame.back->BltFast(layout_.bga.x, layout_.bga.y, *work, media_.bgaRect(), ColourKey::kNone);
}

void FrameRenderer::DrawSoundPanel(const Frame& frame) {
  const Surface* panel = media_.soundPanel();
  if (panel == nullptr) return;
  const Rect grid{0, 0, kSoundGridSize, kSoundGridSize};
  frame.back->BltFast(0, 0, *panel, grid, ColourKey::kSource);
  const Chart& chart = engine_.chart();
  for (int slot = 0; slot < kMediaSlots; ++slot) {
    if (!sounds_.HasSound(slot)) continue;
    const int32_t position = sounds_.PlayCursor(slot);
    if (position == 0) continue;
    const auto width = RoundToInt32(position / static_cast<double>(chart.soundSize[slot]) * kOverviewCellPixels);
    if (!width) continue;
    frame.back->BltFast(slot % kOverviewColumns * kOverviewCellPixels, slot / kOverviewColumns * kOverviewCellPixels,
                        *panel, Rect{0, kSoundGridSize, *width, kSoundPanelHeight}, ColourKey::kSource);
  }
}

void FrameRenderer::DrawSoundOverview(const SoundOverview& overview) {
  Surface* back = media_.back();
  const Surface* panel = media_.soundPanel();
  if (back == nullptr || layout_.loading) return;
  back->BltColorFill(media_.display().DrawRect(), kBlack);
  if (panel != nullptr) {
    back->BltFast(0, 0, *panel, Rect{0, 0, kSoundGridSize, kSoundGridSize}, ColourKey::kSource);
    for (int slot = 0; slot < kMediaSlots; ++slot) {
      const double bar = overview.barWidth[static_cast<size_t>(slot)];
      if (bar < 0.0) continue;
      const auto width = RoundToInt32(bar);
      if (!width) continue;
      back->BltFast(slot % kOverviewColumns * kOverviewCellPixels, slot / kOverviewColumns * kOverviewCellPixels,
                    *panel, Rect{0, kSoundGridSize, *width, kSoundPanelHeight}, ColourKey::kSource);
    }
  }
  Present(*back);
}

void FrameRenderer::DrawDebugLine(const Frame& frame) {
  const PlayState& state = engine_.state();
  const DisplaySize& size = media_.display();
  const std::string text = std::to_string(state.framesLastSecond) + "fps/FSc: " + (size.fullScreen ? "True" : "False") +
                           " W:" + std::to_string(size.width) + " H:" + std::to_string(size.height) +
                           kDebugPositionPad + FormatNumber(frame.cur, kDebugPositionDigits, kDebugPositionDecimals) +
                           "t p/s:" + ShortestDecimal(state.rate) + " BPM:" + ShortestDecimal(state.scaledTempo) +
                           " z:" + ShortestDecimal(state.scrollFactor);
  frame.back->SetForeColor(kDebugForeColour);
  frame.back->SetFontBackColor(kDebugBackColour);
  frame.back->DrawText(kDebugLineX, kDebugLineY, text);
}

void FrameRenderer::DrawMessage(const Frame& frame) {
  if (!messageShown_) return;
  if (TicksBetween(frame.now, messageTick_) > kMessageDurationMs) {
    messageShown_ = false;
    return;
  }
  frame.back->DrawText(kMessageX, kMessageY, message_);
}

void FrameRenderer::Present(const Surface& back) {
  if (presenter_ != nullptr) presenter_->Present(back, media_.display().DrawRect());
}

}  // namespace vremo
