// The media layer: surfaces, picture slots, and the hand-over of sounds.
#include "display/media_layer.h"

#include <algorithm>

#include "display/sound_bank.h"

namespace vremo {
namespace {

// The panel's marker: a bar along the foot of a cell; the row below the
// 16 cell rows stays black so the copy never spills into the next cell.
constexpr int32_t kCellPixels = kOverviewCellPixels;
constexpr int32_t kMarkerBarTop = 12;
constexpr int32_t kLabelX = 1;
constexpr int32_t kLabelY = 1;
constexpr int32_t kLabelGap = 1;
constexpr int32_t kHexBase = kOverviewColumns;  // a row holds the slots xy0 to xyF
constexpr const char* kHexDigits = "0123456789ABCDEF";

void DrawPixelGlyph(Surface& surface, int32_t x, int32_t y, char32_t code, Colour colour) {
  for (int32_t row = 0; row < kPixelGlyphHeight; ++row) {
    for (int32_t column = 0; column < kPixelGlyphWidth; ++column) {
      if (PixelGlyphBit(code, column, row))
        surface.BltColorFill(Rect{x + column, y + row, x + column + 1, y + row + 1}, colour);
    }
  }
}

}  // namespace

std::unique_ptr<Surface> MakeSoundPanel(SurfaceMemory& memory) {
  std::unique_ptr<Surface> panel = memory.Create(kSoundPanelWidth, kSoundPanelHeight);
  if (panel == nullptr) return nullptr;
  panel->BltColorFill(panel->FullRect(), kBlack);
  panel->SetColorKey(kBlack);
  panel->SetForeColor(kSoundPanelGridColour);
  panel->SetFillStyle(FillStyle::kTransparent);
  for (int32_t slot = 0; slot < kSoundGridSize; ++slot) {
    const int32_t x = slot % kHexBase * kCellPixels;
    const int32_t y = slot / kHexBase * kCellPixels;
    panel->DrawBox(x, y, x + kCellPixels, y + kCellPixels);
    DrawPixelGlyph(*panel, x + kLabelX, y + kLabelY, static_cast<char32_t>(kHexDigits[slot / kHexBase]),
                   kSoundPanelLabelColour);
    DrawPixelGlyph(*panel, x + kLabelX + kPixelGlyphWidth + kLabelGap, y + kLabelY,
                   static_cast<char32_t>(kHexDigits[slot % kHexBase]), kSoundPanelLabelColour);
  }
  panel->BltColorFill(Rect{0, kSoundGridSize + kMarkerBarTop, kSoundPanelWidth, kSoundGridSize + kCellPixels},
                      kSoundPanelLabelColour);
  return panel;
}

MediaLayer::MediaLayer(DebugLog& log, MixerSoundBank* sounds, int64_t budget)
    : memory_(budget), log_(log), sounds_(sounds) {
  if (sounds_ != nullptr) sounds_->SetLog(&log_);
}

MediaLayer::~MediaLayer() = default;

void MediaLayer::SetSlotCount(int count) {
  if (sounds_ != nullptr) sounds_->SetSlotCount(count);
}

void MediaLayer::PrepareSurfaces() {
  pictures_.ReleaseAll();
  if (sounds_ != nullptr) sounds_->BeginLoad();
}

// The one place sounds cross over to the sound bank.
SoundLoadResult MediaLayer::LoadSound(int slot, const std::string& path) {
  return sounds_ != nullptr ? sounds_->LoadSound(slot, path) : SoundLoadResult{};
}

void MediaLayer::SetSoundFrequency(int slot, int32_t frequency) {
  if (sounds_ != nullptr) sounds_->SetSoundFrequency(slot, frequency);
}

void MediaLayer::SetPrefetch(const MediaPrefetch* prefetch) {
  pictures_.SetPrefetch(prefetch);
  if (sounds_ != nullptr) sounds_->SetPrefetch(prefetch);
}

PictureLoadResult MediaLayer::LoadPicture(int slot, const std::string& path, bool measure) {
  return pictures_.Load(slot, path, measure, memory_);
}

void MediaLayer::LogFreeMemory(const std::string& prefix, const std::string& suffix) {
  log_.PutLog(prefix + std::to_string(memory_.Free()) + suffix);
}

void MediaLayer::InitDirectDraw() {
  log_.PutLog("initializing directdraw...");
  directDrawExists_ = true;
  log_.PutLog("  * VRAM available total: " + std::to_string(memory_.Total()) + "bytes");
}

void MediaLayer::CreateSurfaces(const BgaBox& bga) {
  if (!directDrawExists_) return;
  log_.PutLog("  releasing surfaces...");
  back_.reset();
  bgaWork_.reset();
  LogFreeMemory("  done. VRAM ", "bytes free");

  log_.PutLog("  creating surfaces...");
  // At least the picture square: the direct BGA way stretches that square.
  bgaWork_ = memory_.Create(std::max(bga.width, kBgaSquare), std::max(bga.height, kBgaSquare));
  bgaRect_ = Rect{0, 0, bga.width, bga.height};
  if (display_.fullScreen) {
    display_.width = kFullScreenWidth;
    display_.height = kFullScreenHeight;
  }
  back_ = memory_.Create(display_.width, display_.height);
  if (back_ == nullptr) {
    log_.PutLog("err: can't create back surface");
  } else {
    back_->SetForeColor(kBackForeColour);
    back_->SetFontBackColor(kBackSecondColour);
    back_->SetColorKey(kBlack);
    back_->SetFont(DefaultSurfaceFont());
  }
  soundPanel_.reset();
  soundPanel_ = MakeSoundPanel(memory_);
  LogFreeMemory("  * VRAM free: ", "bytes");
}

void MediaLayer::ReleaseSurfaces() {
  back_.reset();
  bgaWork_.reset();
  skin_.reset();
  soundPanel_.reset();
  // The guide surface belongs to the same device.
  guide_.reset();
  pictures_.ReleaseAll();
  directDrawExists_ = false;
}

void MediaLayer::ReleaseMemories() {
  log_.PutLog("releasing memories...");
  ReleaseSurfaces();
  if (sounds_ != nullptr) sounds_->ReleaseSounds();
}

void MediaLayer::SetFullScreenSize() {
  display_.fullScreen = true;
  display_.width = kFullScreenWidth;
  display_.height = kFullScreenHeight;
}

}  // namespace vremo
