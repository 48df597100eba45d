// DispResize.
#include "display/display_size.h"

#include "chart/numbers.h"
#include "display/layout.h"
#include "display/media_layer.h"

namespace vremo {

std::string DispResize(double scaleWidth, double scaleHeight, Layout& layout, LayoutContext& context) {
  if (layout.loading) return {};
  DebugLog& log = context.log;
  MediaLayer& media = context.media;
  log.PutLog("DispResize ----");
  DisplaySize& size = media.display();
  if (size.fullScreen) {
    size.width = kFullScreenWidth;
    size.height = kFullScreenHeight;
  } else {
    if (auto width = RoundToInt32(scaleWidth)) size.width = *width;
    if (auto height = RoundToInt32(scaleHeight)) size.height = *height;
  }
  if (!layout.bgaShown) layout.bga = BgaBox{0, 0, size.width, size.height};
  media.CreateSurfaces(layout.bga);
  if (!layout.path.empty()) LoadRect(layout.path, layout, context);
  const std::string caption = "Window[" + std::to_string(size.width) + "x" + std::to_string(size.height) + "]";
  log.PutLog("DispResize complete.");
  return caption;
}

}  // namespace vremo
