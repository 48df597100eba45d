// Pictures for the demo song's background animation, all 256x256.
// Layers are drawn on pure black because the player treats black as
// transparent there; poor is shown while the player misses.
#pragma once

#include <QImage>

namespace demo {

QImage draw_dawn();      // intro and ending: title over a sunrise
QImage draw_hills();     // first verse
QImage draw_tide();      // second part: sea under the moon
QImage draw_burst();     // chorus: sun rays
QImage draw_night();     // second chorus: neon grid
QImage draw_rings();     // layer
QImage draw_sparkles();  // layer
QImage draw_poor();      // "MISS" on red

}  // namespace demo
