#pragma once
// What a chart load needs from the rest of the program: the debug log, the
// media layer, the two media switches and the playback speed factor, and the
// layout reload the compiler asks for. UI thread only.

#include <cstdint>
#include <functional>
#include <optional>

#include "chart/debug_log.h"
#include "chart/media_loader.h"

namespace vremo {

struct LoadOptions {
  bool noWav = false;        // do not load sounds
  bool noBga = false;        // do not load pictures
  float speedFactor = 1.0f;  // playback speed (the "real hi-speed" factor)
  // The modern reading (modern_reader.h): long notes, stops, random blocks,
  // any line end. Its random blocks draw from `seed` when one is given (the
  // tool modes' --seed), else from a fresh seed at every load.
  bool modernReading = false;
  std::optional<uint32_t> seed;
};

struct LoadContext {
  DebugLog& log;
  MediaLoader& media;
  LoadOptions options;
  std::function<void()> reloadLayout;  // may be empty
};

}  // namespace vremo
