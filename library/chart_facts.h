#pragma once
// Reading one chart for the library: everything a LibraryEntry holds but its
// result and row id. The chart is read the way the player would need to read
// it (the modern reading when it uses anything only that reading knows), with
// no media and no log. Any thread; each call is independent.

#include <optional>
#include <string>

#include "library/library_entry.h"

namespace vremo {

// Empty when the file cannot be read; `error` then says why (e.g.
// "No such file or directory").
std::optional<LibraryEntry> ReadChartFacts(const std::string& path, std::string* error);

}  // namespace vremo
