#pragma once
// The drawing area's size and the full-screen rule: in full screen the
// drawing area is 640 x 480 whatever the window; in a window it is the
// drawing widget's size. DispResize is the drawing widget's resize event: it
// rebuilds the surfaces and reloads the layout for the new size. Window
// placement and the mode switch itself belong to the main window (shell).
// UI thread only.

#include <cstdint>
#include <string>

#include "display/surface.h"

namespace vremo {

struct Layout;
struct LayoutContext;

inline constexpr int32_t kFullScreenWidth = 640;
inline constexpr int32_t kFullScreenHeight = 480;

struct DisplaySize {
  bool fullScreen = false;
  int32_t width = kFullScreenWidth;
  int32_t height = kFullScreenHeight;

  // The source of every present.
  Rect DrawRect() const { return Rect{0, 0, width, height}; }
};

// Resizes the drawing area to the widget's scale size in pixels (rounded;
// 640 x 480 in full screen), lets a layout without "#BGA" spread the BGA
// over the whole area, recreates the surfaces and reloads the layout.
// Returns the caption label text "Window[WxH]"; does nothing (and returns
// "") while the layout's loading flag is set.
std::string DispResize(double scaleWidth, double scaleHeight, Layout& layout, LayoutContext& context);

}  // namespace vremo
