#pragma once
// Reading one chart for the library: everything a LibraryEntry holds but its
// result and row id. The chart is read the way the player would need to read
// it (the modern reading when it uses anything only that reading knows), with
// no media and no log. Any thread; each call is independent.

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "library/library_entry.h"

namespace vremo {

struct Chart;

// Why a chart could not be read, as ReadChartFacts gives it in `error`.
inline constexpr std::string_view kFactsMissing = "No such file or directory";
inline constexpr std::string_view kFactsNotAFile = "Not a regular file";
inline constexpr std::string_view kFactsTooLarge = "File too large";
inline constexpr std::string_view kFactsUnreadable = "Cannot be read";

// Empty when the file cannot be read; `error` then says why (e.g.
// "No such file or directory").
std::optional<LibraryEntry> ReadChartFacts(const std::string& path, std::string* error);

// The same, keeping the reader's large chart tables from one chart to the
// next: one per thread (a scanner's worker reads thousands of charts).
class ChartFactsReader {
 public:
  ChartFactsReader();
  ~ChartFactsReader();
  ChartFactsReader(const ChartFactsReader&) = delete;
  ChartFactsReader& operator=(const ChartFactsReader&) = delete;

  std::optional<LibraryEntry> Read(const std::string& path, std::string* error);

 private:
  std::unique_ptr<Chart> chart_;
};

// 64-bit FNV-1a of the bytes as 16 lower-case hex digits.
std::string ContentHash(std::string_view bytes);

}  // namespace vremo
