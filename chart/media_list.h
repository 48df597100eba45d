#pragma once
// The media a chart names, listed ahead of its load: every #WAVxx and #BMPxx
// line's file (chart folder + name as written), in file order, so that the
// files can be decoded before the reader asks for them. Lines inside random
// blocks are all listed, whatever a load would draw. Pure; any thread.

#include <string>
#include <vector>

#include "chart/load_context.h"
#include "chart/media_path.h"

namespace vremo {

struct MediaLine {
  MediaKind kind = MediaKind::kSound;
  std::string path;  // as the reader hands it to the media layer
};

// Nothing for a file that cannot be read; no sounds with options.noWav, no
// pictures with options.noBga.
std::vector<MediaLine> ListChartMedia(const std::string& path, const LoadOptions& options);

}  // namespace vremo
