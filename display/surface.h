#pragma once
// Drawing surfaces: a Surface is a 32-bit RGB picture with the operations the
// layout loader and the frame renderer draw with (colour fill, fast copy and
// stretched copy with or without the source colour key, lines, boxes with a
// fill style, text). SurfaceMemory counts the bytes all surfaces hold against
// a budget; its figures are the "VRAM" numbers of the debug log, and a
// surface that would pass the budget is not made.
//
// Copies clip to both surfaces; a copy whose rectangle is empty or lies
// outside does nothing, as a failing blit did. The media layer owns every
// surface of the player. UI thread only.

#include <QImage>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace vremo {

inline constexpr int32_t kSurfaceBytesPerPixel = 4;  // 32-bit RGB

// 0x00RRGGBB.
using Colour = uint32_t;
constexpr Colour Rgb(uint32_t r, uint32_t g, uint32_t b) { return (r << 16) | (g << 8) | b; }
inline constexpr Colour kBlack = 0;
inline constexpr Colour kWhite = Rgb(255, 255, 255);
// Record files and judgement colours keep 0x00BBGGRR.
constexpr Colour FromBgr(int32_t bgr) {
  const auto value = static_cast<uint32_t>(bgr);
  return Rgb(value & 0xFF, (value >> 8) & 0xFF, (value >> 16) & 0xFF);
}

// Left and top inclusive, right and bottom exclusive.
struct Rect {
  int32_t left = 0;
  int32_t top = 0;
  int32_t right = 0;
  int32_t bottom = 0;

  int32_t Width() const { return right - left; }
  int32_t Height() const { return bottom - top; }
  bool Empty() const { return right <= left || bottom <= top; }
  bool operator==(const Rect&) const = default;
};

enum class ColourKey { kNone, kSource };

// Fill styles of DrawBox, numbered as the layout rules number them.
enum class FillStyle : int16_t { kSolid = 0, kTransparent = 1, kDiagonalCross = 7 };

struct SurfaceFont {
  std::string family;
  int32_t pixelSize = 12;
  bool bold = false;
};

// The font surfaces draw text with unless told otherwise.
SurfaceFont DefaultSurfaceFont();

// Text and boxes need the desktop's font machinery; creates the program's
// QGuiApplication when none exists yet (headless tool modes use the
// offscreen platform when there is no display).
void EnsureGuiApplication();

class SurfaceMemory;

class Surface {
 public:
  // A black surface; prefer SurfaceMemory::Create, which counts it.
  Surface(int32_t width, int32_t height);
  explicit Surface(QImage image);
  ~Surface();
  Surface(const Surface&) = delete;
  Surface& operator=(const Surface&) = delete;

  int32_t width() const { return width_; }
  int32_t height() const { return height_; }
  Rect FullRect() const { return Rect{0, 0, width_, height_}; }
  int64_t Bytes() const { return int64_t{width_} * height_ * kSurfaceBytesPerPixel; }
  bool Valid() const { return width_ > 0 && height_ > 0; }

  Colour Pixel(int32_t x, int32_t y) const;
  void SetColorKey(Colour key) { colourKey_ = key; }
  Colour colourKey() const { return colourKey_; }

  // BltColorFill: the rectangle, clipped, becomes one colour.
  void BltColorFill(const Rect& rect, Colour colour);
  // BltFast: the source rectangle copied 1:1 with its top-left at (x, y).
  void BltFast(int32_t x, int32_t y, const Surface& source, const Rect& sourceRect, ColourKey key);
  // Blt: the source rectangle stretched onto the destination rectangle
  // (nearest pixel). Source and destination may be the same surface.
  void Blt(const Rect& dest, const Surface& source, const Rect& sourceRect, ColourKey key);

  // Drawing state of lines, boxes and text.
  void SetForeColor(Colour colour) { foreColour_ = colour; }
  void SetFillColor(Colour colour) { fillColour_ = colour; }
  void SetFillStyle(FillStyle style) { fillStyle_ = style; }
  void SetFont(const SurfaceFont& font) { font_ = font; }
  void SetFontBackColor(Colour colour) { fontBackColour_ = colour; }
  void SetFontTransparent(bool transparent) { fontTransparent_ = transparent; }
  Colour foreColor() const { return foreColour_; }
  Colour fontBackColor() const { return fontBackColour_; }

  // A line in the fore colour from (x1, y1) up to, not including, (x2, y2).
  void DrawLine(int32_t x1, int32_t y1, int32_t x2, int32_t y2);
  // A box covering x1..x2-1 and y1..y2-1: outline in the fore colour, inside
  // in the fill colour and style.
  void DrawBox(int32_t x1, int32_t y1, int32_t x2, int32_t y2);
  // One line of UTF-8 text with its top-left at (x, y), in the fore colour
  // on the font back colour unless the font is transparent.
  void DrawText(int32_t x, int32_t y, std::string_view text);

  // Writes a PNG next to `path` and renames it into place, so an existing
  // file is replaced whole or not at all.
  bool SavePng(const std::string& path) const;

  const QImage& image() const { return image_; }

 private:
  friend class SurfaceMemory;

  const uint32_t* Row(int32_t y) const { return reinterpret_cast<const uint32_t*>(bits_ + y * stride_); }
  uint32_t* Row(int32_t y) { return reinterpret_cast<uint32_t*>(bits_ + y * stride_); }
  void AttachImage();

  QImage image_;
  uchar* bits_ = nullptr;
  int64_t stride_ = 0;
  int32_t width_ = 0;
  int32_t height_ = 0;
  Colour colourKey_ = kBlack;
  Colour foreColour_ = kBlack;
  Colour fillColour_ = kBlack;
  FillStyle fillStyle_ = FillStyle::kTransparent;
  Colour fontBackColour_ = kWhite;
  bool fontTransparent_ = false;
  SurfaceFont font_;
  SurfaceMemory* memory_ = nullptr;
};

// Bytes held by surfaces against a budget (the "video memory").
class SurfaceMemory {
 public:
  // Surfaces it counts must be gone before it is.
  explicit SurfaceMemory(int64_t budget) : budget_(budget) {}

  // A black width x height surface, counted; nullptr when the size is not
  // positive, passes the free memory, or cannot be allocated.
  std::unique_ptr<Surface> Create(int32_t width, int32_t height);
  // Takes a picture over as a counted surface; nullptr as above.
  std::unique_ptr<Surface> Adopt(QImage image);

  int64_t Total() const { return budget_; }
  int64_t Held() const { return held_; }
  int64_t Free() const { return budget_ - held_; }
  bool Fits(int64_t bytes) const { return bytes >= 0 && bytes <= Free(); }

 private:
  friend class Surface;
  void Release(int64_t bytes) { held_ -= bytes; }

  int64_t budget_;
  int64_t held_ = 0;
};

}  // namespace vremo
