// The groove gauge with its percentage, and the judgement image with the
// combo number.
#include <cmath>
#include <numbers>

#include "chart/numbers.h"
#include "display/frame_renderer.h"
#include "play/number_format.h"

namespace vremo {
namespace {

constexpr int32_t kGaugeWidth = 100;
constexpr int32_t kGaugeBarRise = 50;   // strip top above the bottom edge
constexpr int32_t kGaugeTextRise = 38;  // percentage top above the bottom edge
constexpr int32_t kGaugeGlyphAdvance = 5;
constexpr int kGaugeTextDigits = 3;
constexpr double kGaugeFlickerPixels = 5.0;
constexpr size_t kEmptyStrip = 0;
constexpr size_t kFullStrip = 1;

// The judgement line of text sits this far above the bottom (or below the
// top with Reverse).
constexpr int32_t kJudgementRise = 64;
constexpr int32_t kJudgementShownMs = 1000;
constexpr int32_t kJudgementFadeMs = 900;  // the image grows from here on
constexpr int32_t kJudgementFadeStep = 3;
// A small pulse at every bar start, a bigger one at every beat start.
constexpr int32_t kBarPulseUnits = 12;
constexpr int32_t kBarPulseStretch = 2;
constexpr int32_t kBeatUnits = kUnitsPerMeasure / 4;
constexpr int32_t kBeatPulseUnits = 8;
constexpr double kBeatPulseStretch = 12.0;
constexpr double kBeatPulseDecay = 1.5;
// Each side of the image moves in by a quarter of the stretch.
constexpr int32_t kPinchDivisor = 4;
// The blink: on for the first 3.33 of every 7 units (window), every other
// frame (full screen).
constexpr int32_t kBlinkPeriod = 7;
constexpr double kBlinkOn = 3.33333333333;
constexpr int32_t kFGreatFrameMs = 50;
// The combo jumps for 100 ms after a judgement and waves with the beat.
constexpr int32_t kComboJumpMs = 100;
constexpr int32_t kComboJumpStep = 5;
constexpr double kComboWaveUnits = 24.0;
constexpr double kHalfTurnDegrees = 180.0;
constexpr double kComboWavePixels = 3.0;

int32_t RoundedOr(double value, int32_t fallback) { return RoundToInt32(value).value_or(fallback); }

}  // namespace

void FrameRenderer::DrawGauge(const Frame& frame) {
  if (frame.skin == nullptr) return;
  for (int32_t side = 0; side < kSideCount; ++side) {
    if (frame.sides[static_cast<size_t>(side)]) DrawGaugeSide(frame, side);
  }
}

void FrameRenderer::DrawGaugeSide(const Frame& frame, int32_t side) {
  const int32_t pseudoLane = kSidePseudoLane[static_cast<size_t>(side)];
  const LaneEntry* lane = layout_.Lane(pseudoLane);
  const NoteImage* sideImage = layout_.ImageOfLane(pseudoLane);
  if (lane == nullptr || sideImage == nullptr) return;
  const int32_t gaugeX = lane->x + (sideImage->width - kGaugeWidth) / 2;
  const double gauge = engine_.scores().players[static_cast<size_t>(side)].displayedGauge;
  Surface& back = *frame.back;
  const Surface& skin = *frame.skin;

  // The text is remade only when its value changes.
  const int32_t value = RoundedOr(gauge, 0);
  std::string& text = gaugeText_[static_cast<size_t>(side)];
  if (value != gaugeTextValue_[static_cast<size_t>(side)] || text.empty()) {
    gaugeTextValue_[static_cast<size_t>(side)] = value;
    text = FormatNumber(gauge, kGaugeTextDigits, 0) + "%";
  }
  for (size_t k = 0; k < text.size(); ++k) {
    const Rect* glyph = layout_.Glyph(static_cast<unsigned char>(text[k]));
    if (glyph != nullptr)
      back.BltFast(gaugeX + kGaugeGlyphAdvance * static_cast<int32_t>(k), frame.height - kGaugeTextRise, skin, *glyph,
                   ColourKey::kSource);
  }

  const int32_t barTop = frame.height - kGaugeBarRise;
  back.BltFast(gaugeX, barTop, skin, layout_.gaugeStrips[kEmptyStrip], ColourKey::kSource);
  const Rect& full = layout_.gaugeStrips[kFullStrip];
  const double random = std::uniform_real_distribution<double>(0.0, 1.0)(flicker_);
  const int32_t flicker = RoundedOr(random * kGaugeFlickerPixels, 0);
  Rect filled = full;
  filled.right = RoundedOr(full.left + gauge - flicker, full.left);
  back.BltFast(gaugeX, barTop, skin, filled, ColourKey::kSource);
  Rect end = full;
  end.left = RoundedOr(full.left + gauge - 1, full.left);
  end.right = end.left + 1;
  back.BltFast(RoundedOr(gaugeX + gauge - 1, gaugeX), barTop, skin, end, ColourKey::kSource);
}

void FrameRenderer::DrawJudgements(const Frame& frame) {
  if (frame.skin == nullptr) return;
  bool blink;
  if (media_.display().fullScreen) {
    blink = engine_.state().framesThisSecond % 2 != 0;
  } else {
    blink = RoundedOr(frame.cur, 0) % kBlinkPeriod < kBlinkOn;
  }
  for (int32_t side = 0; side < kSideCount; ++side) {
    if (frame.sides[static_cast<size_t>(side)]) DrawJudgementSide(frame, side, blink);
  }
}

void FrameRenderer::DrawJudgementSide(const Frame& frame, int32_t side, bool blink) {
  const Settings& settings = engine_.settings();
  PlayerScore& score = engine_.scores().players[static_cast<size_t>(side)];
  const int32_t cur = RoundedOr(frame.cur, 0);
  int32_t stretch = 0;
  if (!settings.dontStretch) stretch = cur % kUnitsPerMeasure < kBarPulseUnits ? kBarPulseStretch : 0;
  const int32_t kind = score.lastJudgement;
  // Every judgement but fGreat blinks.
  if (kind != kJudgeFGreat && (kind == kNoJudgement || !blink)) return;
  if (kind < kJudgePoor || kind > kJudgeFGreat) return;
  const int32_t elapsed = TicksBetween(frame.now, score.lastJudgementTick);
  if (elapsed > kJudgementShownMs) {
    score.lastJudgement = kNoJudgement;
    return;
  }
  int32_t pinch = 0;
  if (!settings.dontStretch) {
    if (elapsed > kJudgementFadeMs) {
      stretch = (elapsed - kJudgementFadeMs) / kJudgementFadeStep;
    } else if (const int32_t t = cur % kBeatUnits; t < kBeatPulseUnits) {
      stretch = RoundedOr(kBeatPulseStretch - t * kBeatPulseDecay, 0);
      pinch = stretch / kPinchDivisor;
    }
  }

  const int32_t pseudoLane = kSidePseudoLane[static_cast<size_t>(side)];
  const LaneEntry* lane = layout_.Lane(pseudoLane);
  const NoteImage* sideImage = layout_.ImageOfLane(pseudoLane);
  if (lane == nullptr || sideImage == nullptr) return;
  const JudgementImage& image = layout_.judgements[static_cast<size_t>(kind)];
  const int32_t digits = score.combo > 0 ? score.comboDigitTop + 1 : 0;
  const int32_t left = lane->x + (sideImage->width - image.width - digits * layout_.digitWidth) / 2;
  const int32_t top = (settings.reverse ? kJudgementRise : frame.height - kJudgementRise) - stretch / 2;
  const int32_t right = left + image.width;
  const int32_t bottom = top + image.height + stretch;

  Rect source = image.source;
  if (kind == kJudgeFGreat) {
    const auto frames = static_cast<int32_t>(layout_.fGreatFrames.size());
    if (frames > 0) {
      // Advances every 50 ms whatever the frame rate.
      int32_t& index = fGreatFrame_[static_cast<size_t>(side)];
      index = (frame.now / kFGreatFrameMs % frames + frames) % frames;
      source = layout_.fGreatFrames[static_cast<size_t>(index)];
    }
  }
  frame.back->Blt(Rect{left + pinch, top, right - pinch, bottom}, *frame.skin, source, ColourKey::kSource);
  if (score.combo > 0) DrawCombo(frame, side, right, stretch, elapsed);
}

void FrameRenderer::DrawCombo(const Frame& frame, int32_t side, int32_t left, int32_t stretch, int32_t elapsed) {
  const Settings& settings = engine_.settings();
  const PlayerScore& score = engine_.scores().players[static_cast<size_t>(side)];
  const int32_t count = score.comboDigitTop + 1;
  if (count <= 0 || count > kMaxComboDigits) return;
  if (!settings.dontStretch && elapsed < kComboJumpMs) {
    stretch = (kComboJumpMs - elapsed) / kComboJumpStep;
    // The entry past the last digit keeps an older combo's digit: a 0 there
    // doubles the jump, as it always has.
    if (count < kMaxComboDigits && score.comboDigits[static_cast<size_t>(count)] == 0) stretch *= 2;
  }
  const int32_t imageHeight = layout_.judgements[static_cast<size_t>(score.lastJudgement)].height;
  const double base = (settings.reverse ? kJudgementRise : frame.height - kJudgementRise) - stretch / 2;
  for (int32_t k = 0; k < count; ++k) {
    const int32_t digit = score.comboDigits[static_cast<size_t>(k)];
    if (digit < 0 || digit >= kDigitImages) continue;
    const double degrees =
        frame.cur / kComboWaveUnits * kHalfTurnDegrees + static_cast<int32_t>(kHalfTurnDegrees) / (count + 1) * k;
    const double wave = std::sin(degrees * std::numbers::pi / kHalfTurnDegrees);
    const int32_t top = RoundedOr(base - kComboWavePixels * wave, 0);
    const int32_t digitLeft = left + k * layout_.digitWidth;
    frame.back->Blt(Rect{digitLeft, top, digitLeft + layout_.digitWidth, top + imageHeight + stretch}, *frame.skin,
                    layout_.digits[static_cast<size_t>(digit)], ColourKey::kSource);
  }
}

}  // namespace vremo
