#pragma once
// A chart shaped like the largest ones players load (about 350 KB and 9,000
// objects: hundreds of #WAV/#BMP lines, background lines, measure lengths,
// tempo and BGA lines of 192 steps, Shift-JIS title and artist), and the
// smallest one (one note). Written by the reading benchmark and by
// tools/time_info; deterministic, no outside files. Any thread.

#include <string>

namespace vremo::tools {

// The big chart's bytes (CP932, CR LF line ends).
std::string BigChartBytes();

// "#BPM 120" and one note.
std::string OneNoteChartBytes();

}  // namespace vremo::tools
