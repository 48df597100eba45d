#pragma once
// The media layer: owner of every drawing surface (back surface, BGA work
// surface, sound-slot panel, skin and guide surfaces of the layout, the 256
// picture slots) and the chart reader's MediaLoader, which fills the picture
// slots itself and hands sounds to the sound bank. Surface memory is counted
// against a budget; its figures are the "VRAM" lines of the debug log.
//
// Start-up: InitDirectDraw, CreateSurfaces, then LoadRect. A display-size
// change: DispResize (display_size.h). "Release memories": ReleaseMemories.
// UI thread only.

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "chart/debug_log.h"
#include "chart/media_loader.h"
#include "display/display_size.h"
#include "display/layout.h"
#include "display/picture_file.h"
#include "display/surface.h"
#include "play/frame_drawer.h"

namespace vremo {

class MixerSoundBank;

// What the surfaces may hold in all.
inline constexpr int64_t kVideoMemoryBudget = int64_t{512} * 1024 * 1024;

// The sound-slot panel: a 16 x 16 grid of 16-pixel cells labelled with the
// slot numbers, and below it the progress marker the renderer copies into
// the cells of sounding slots.
inline constexpr int32_t kSoundPanelWidth = 256;
inline constexpr int32_t kSoundPanelHeight = 273;
inline constexpr int32_t kSoundGridSize = kOverviewColumns * kOverviewCellPixels;
inline constexpr Colour kSoundPanelLabelColour = Rgb(0, 128, 255);
inline constexpr Colour kSoundPanelGridColour = Rgb(0, 0, 128);

// The back surface's drawing state before each frame.
inline constexpr Colour kBackForeColour = Rgb(0, 0, 255);
inline constexpr Colour kBackSecondColour = Rgb(0, 0, 128);

class MediaLayer : public MediaLoader {
 public:
  // `sounds` may be null: sounds are then not loaded (snapshots, tools).
  explicit MediaLayer(DebugLog& log, MixerSoundBank* sounds = nullptr, int64_t budget = kVideoMemoryBudget);
  ~MediaLayer() override;

  // --- MediaLoader (the chart reader, once per #WAVxx / #BMPxx line).
  // Empties the picture slots of the previous chart.
  void PrepareSurfaces() override;
  void SetSlotCount(int count) override;
  int64_t FreeVideoMemory() override { return memory_.Free(); }
  SoundLoadResult LoadSound(int slot, const std::string& path) override;
  void SetSoundFrequency(int slot, int32_t frequency) override;
  PictureLoadResult LoadPicture(int slot, const std::string& path, bool measure) override;

  // --- Device and surfaces.
  // Logs "initializing directdraw..." and the memory total; surfaces can be
  // made from here on.
  void InitDirectDraw();
  bool DirectDrawExists() const { return directDrawExists_; }
  // Remakes the back surface (drawing-area size), the BGA work surface (BGA
  // size) and the sound-slot panel, with their log lines. Does nothing, and
  // logs nothing, before InitDirectDraw.
  void CreateSurfaces(const BgaBox& bga);
  // Empties every surface and the picture slots; InitDirectDraw must run
  // before surfaces are made again.
  void ReleaseSurfaces();
  // "releasing memories...": the surfaces, then the sounds.
  void ReleaseMemories();
  // The drawing area becomes 640 x 480 for full screen.
  void SetFullScreenSize();

  DisplaySize& display() { return display_; }
  const DisplaySize& display() const { return display_; }
  SurfaceMemory& memory() { return memory_; }

  Surface* back() { return back_.get(); }
  const Surface* back() const { return back_.get(); }
  Surface* bgaWork() { return bgaWork_.get(); }
  // The part of the BGA work surface the layout's BGA box covers.
  Rect bgaRect() const { return bgaRect_; }
  const Surface* soundPanel() const { return soundPanel_.get(); }
  const Surface* skin() const { return skin_.get(); }
  const Surface* guide() const { return guide_.get(); }
  void SetSkin(std::unique_ptr<Surface> skin) { skin_ = std::move(skin); }
  void SetGuide(std::unique_ptr<Surface> guide) { guide_ = std::move(guide); }
  const PictureSlots& pictures() const { return pictures_; }
  // Sounds and pictures decoded ahead of a load (media_prefetch.h) are taken
  // from `prefetch` until it is set back to null.
  void SetPrefetch(const MediaPrefetch* prefetch);

 private:
  void LogFreeMemory(const std::string& prefix, const std::string& suffix);

  // Declared first: every surface below is counted by it.
  SurfaceMemory memory_;
  DebugLog& log_;
  MixerSoundBank* sounds_;
  DisplaySize display_;
  bool directDrawExists_ = false;

  std::unique_ptr<Surface> back_;
  std::unique_ptr<Surface> bgaWork_;
  Rect bgaRect_;
  std::unique_ptr<Surface> soundPanel_;
  std::unique_ptr<Surface> skin_;
  std::unique_ptr<Surface> guide_;
  PictureSlots pictures_;
};

// Draws the sound-slot panel: grid, hexadecimal labels, marker rows.
std::unique_ptr<Surface> MakeSoundPanel(SurfaceMemory& memory);

}  // namespace vremo
