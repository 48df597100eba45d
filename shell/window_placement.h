#pragma once
// Saving and restoring a top-level window's place: position, size and state
// (normal, minimised, maximised, the numbers the settings file keeps), shared
// by the main window and the play-list window. UI thread only.

#include <QRect>
#include <cstdint>

#include "play/settings.h"

class QWidget;

namespace vremo {

// `normal` is the window's place when neither minimised nor maximised (the
// main window passes the place it had before going full screen).
WindowPlacement PlacementOf(const QWidget& window, const QRect& normal);

// Moves and sizes the window (a placement without a size only sets the
// state) and applies the state; nothing is shown that was hidden.
void ApplyPlacement(QWidget& window, const WindowPlacement& placement);

}  // namespace vremo
