#pragma once
// The layout (rect) file: where the renderer draws every element and from
// which part of the skin picture. LoadRect reads a *.vrd file into the one
// Layout, makes the skin surface, and rebuilds the built-in font table, the
// guide surface (the lanes' vertical lines) and the gauge strips.
//
// Lines look like "#KEY11 1,20,3": the three characters after "#" (any case)
// are the key, values start at a fixed column per key, fields are split at
// "," and read by their leading number (0 when there is none), whole numbers
// rounded halves to even. Keys a file leaves out keep their earlier values.
//
// Called at start-up, when the user picks another layout, after a display
// size change and after every chart load (the side switches decide which
// guide lines exist). UI thread only; the renderer reads the Layout.

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "chart/chart.h"
#include "chart/debug_log.h"
#include "display/pixel_font.h"
#include "display/surface.h"

namespace vremo {

class MediaLayer;

// Lane and note image numbers are two digits.
inline constexpr int32_t kLayoutTableSize = 100;
inline constexpr int32_t kJudgementKinds = 5;  // Poor, Bad, Good, Great, fGreat
inline constexpr int32_t kDigitImages = 10;
inline constexpr int32_t kGaugeStrips = 2;
// Where the skin keeps the gauge: the empty strip above the full one.
inline constexpr Rect kGaugeStripEmpty{0, 102, 99, 111};
inline constexpr Rect kGaugeStripFull{0, 112, 99, 121};
// fGreat frames beyond this are dropped (a garbage count must not exhaust
// memory).
inline constexpr int32_t kMaxFGreatFrames = 1024;

// Pseudo-lanes: each side's left edge, carrying the bar-line picture whose
// width is the side's width.
inline constexpr int32_t kSideCount = 2;
inline constexpr std::array<int32_t, kSideCount> kSidePseudoLane = {10, 20};
inline constexpr int32_t kGuideFirstLane = 10;
inline constexpr int32_t kGuideLastLane = 29;

// The built-in font: character codes 33 to 128 in 3 x 5 cells on the skin,
// rows of 32 codes.
inline constexpr int32_t kFontFirstCode = 33;
inline constexpr int32_t kFontLastCode = 128;
inline constexpr int32_t kFontCodesPerRow = 32;
inline constexpr int32_t kFontCellWidth = kPixelGlyphWidth;
inline constexpr int32_t kFontCellHeight = kPixelGlyphHeight;
inline constexpr int32_t kFontTopOffset = 117;  // row 1 (codes 32-63) starts at y 122

// Guide-line styles of "#KEY".
inline constexpr int16_t kGuideLeftLine = 1;
inline constexpr int16_t kGuideRightLine = 2;
inline constexpr int16_t kGuideHatchedLane = 3;
inline constexpr Colour kGuideLineColour = Rgb(128, 128, 128);
inline constexpr Colour kGuideHatchColour = Rgb(16, 16, 16);
inline constexpr Colour kGuideFootColour = Rgb(255, 0, 0);

struct LaneEntry {
  int32_t image = 0;  // note image number
  int32_t x = 0;      // left edge on the drawing surface
  int16_t style = 0;  // guide-line style
};

struct NoteImage {
  Rect source;          // on the skin
  int32_t offsetY = 0;  // minus the height: drawn with its bottom on the note
  int32_t width = 0;
  int32_t height = 0;
};

// Pictures a layout may name for modern charts, per note image number, in
// the fields of "#OBJnn": "#LNHnn" and "#LNTnn" the head and tail of a long
// note, "#LNBnn" its body (stretched between them), "#MINnn" a landmine. An
// entry of width 0 was never named: the renderer then draws the ends with
// the note picture, the body as a darker shade of it, and a mine as a shape
// of its own.
struct ModernImages {
  std::array<NoteImage, kLayoutTableSize> longHeads{};
  std::array<NoteImage, kLayoutTableSize> longBodies{};
  std::array<NoteImage, kLayoutTableSize> longTails{};
  std::array<NoteImage, kLayoutTableSize> mines{};
};

struct JudgementImage {
  Rect source;
  int32_t width = 0;
  int32_t height = 0;
};

// BGA pictures are made for a square of this side.
inline constexpr int32_t kBgaSquare = 256;

struct BgaBox {
  int32_t x = 0;
  int32_t y = 0;
  int32_t width = kBgaSquare;
  int32_t height = kBgaSquare;
};

struct Layout {
  BgaBox bga;
  bool bgaShown = false;  // a "#BGA" line was read by the last load
  std::array<LaneEntry, kLayoutTableSize> lanes{};
  std::array<NoteImage, kLayoutTableSize> images{};
  ModernImages modern;
  std::array<JudgementImage, kJudgementKinds> judgements{};
  std::vector<Rect> fGreatFrames;
  std::array<Rect, kDigitImages> digits{};
  int32_t digitWidth = 0;
  std::array<Rect, kFontLastCode - kFontFirstCode + 1> font{};
  std::array<Rect, kGaugeStrips> gaugeStrips{};
  // Set while the layout or the display mode is rebuilt: no frame is drawn.
  bool loading = false;
  std::string path;  // the file last asked for

  // The lane's entry and its note image; nullptr outside the tables.
  const LaneEntry* Lane(int32_t lane) const;
  const NoteImage* ImageOfLane(int32_t lane) const;
  // The picture `table` names for the lane's note image; nullptr when the
  // layout named none.
  const NoteImage* NamedOfLane(const std::array<NoteImage, kLayoutTableSize>& table, int32_t lane) const;
  // The font cell of a character code; nullptr outside 33-128.
  const Rect* Glyph(int32_t code) const;
};

// Which sides the guide lines and the renderer cover: a side is on when the
// chart has notes on it.
using SideSwitches = std::array<bool, kSideCount>;
SideSwitches SideSwitchesOf(const Chart& chart);

struct LayoutContext {
  DebugLog& log;
  MediaLayer& media;
  SideSwitches sides{};
  // The display-mode switch a "#FULL" line calls with true; when empty the
  // drawing area simply takes the full-screen size.
  std::function<void(bool)> setScreenMode;
};

// Loads the layout file at `path`. A missing file is reported by CheckExist
// and changes nothing.
void LoadRect(const std::string& path, Layout& layout, LayoutContext& context);

// What every load ends with: the font table, the guide surface of the
// drawing-area size with the lanes' guide lines, and the gauge strips.
void BuildFontTable(Layout& layout);
void MakeGuideSurface(const Layout& layout, LayoutContext& context);
void SetGaugeStrips(Layout& layout);

}  // namespace vremo
