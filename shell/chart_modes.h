#pragma once
// The tool modes that only read charts (--info, --dump) and their argument
// parsing. Nothing here needs Qt, SDL or a sound decoder, so the vremo
// executable runs them before it loads the player's libraries at all.
// Main thread.

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "chart/load_context.h"

namespace vremo {

// The exit status of a tool mode for the last load's result.
int ExitStatusOf(int32_t result);

// Loads every chart into one Chart, as consecutive loads in the player, and
// prints the last load's log and song lines (info) or its JSON dump.
int LoadCharts(const std::vector<std::string>& paths, const LoadOptions& options, bool info, std::ostream& out);

// --info or --dump with nothing but chart paths, --option and --seed;
// empty for anything else, which the full program handles.
std::optional<int> RunChartMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace vremo
