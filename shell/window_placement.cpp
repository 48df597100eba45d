// A window's saved place, both ways.
#include "shell/window_placement.h"

#include <QWidget>

namespace vremo {

WindowPlacement PlacementOf(const QWidget& window, const QRect& normal) {
  const int16_t state = window.isMinimized()   ? kWindowMinimised
                        : window.isMaximized() ? kWindowMaximised
                                               : kWindowNormal;
  return {static_cast<float>(normal.x()), static_cast<float>(normal.y()), static_cast<float>(normal.width()),
          static_cast<float>(normal.height()), state};
}

void ApplyPlacement(QWidget& window, const WindowPlacement& placement) {
  if (placement.width > 0 && placement.height > 0) {
    window.setGeometry(static_cast<int>(placement.left), static_cast<int>(placement.top),
                       static_cast<int>(placement.width), static_cast<int>(placement.height));
  }
  Qt::WindowStates states = window.windowState() & ~(Qt::WindowMinimized | Qt::WindowMaximized);
  if (placement.windowState == kWindowMinimised) states |= Qt::WindowMinimized;
  if (placement.windowState == kWindowMaximised) states |= Qt::WindowMaximized;
  window.setWindowState(states);
}

}  // namespace vremo
