#pragma once
// The small 3 x 5 pixel font: the skin's font cells that the gauge text is
// drawn from, and the labels of the sound-slot panel. Pure data; any thread.

#include <cstdint>

namespace vremo {

inline constexpr int32_t kPixelGlyphWidth = 3;
inline constexpr int32_t kPixelGlyphHeight = 5;

// Whether the pixel (x, y) of the glyph of `code` is set; lower-case letters
// share the capitals' shapes, codes without a glyph are blank.
bool PixelGlyphBit(char32_t code, int32_t x, int32_t y);

}  // namespace vremo
