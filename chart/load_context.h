#pragma once
// What a chart load needs from the rest of the program: the debug log, the
// media layer, the two media switches and the playback speed factor, and the
// layout reload the compiler asks for. UI thread only.

#include <functional>

#include "chart/debug_log.h"
#include "chart/media_loader.h"

namespace vremo {

struct LoadOptions {
  bool noWav = false;        // do not load sounds
  bool noBga = false;        // do not load pictures
  float speedFactor = 1.0f;  // playback speed (the "real hi-speed" factor)
};

struct LoadContext {
  DebugLog& log;
  MediaLoader& media;
  LoadOptions options;
  std::function<void()> reloadLayout;  // may be empty
};

}  // namespace vremo
