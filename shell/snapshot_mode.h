#pragma once
// `vremo --snapshot OUT.png [--at POSITION] [--size WxH] [--layout FILE]
// [--option NAME=VALUE]... CHART`: one exact frame of an automatic play at a
// chart position, written as PNG, with the debug log on standard output.
// Main thread.

#include <ostream>
#include <string>
#include <vector>

namespace vremo {

// Returns the exit status: 0 written, 1 no object or not written, 2 the
// chart file does not exist, 64 wrong usage.
int RunSnapshotMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace vremo
