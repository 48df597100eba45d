#pragma once
// Finding charts in the library as the user types: every word of the text
// must occur (case-insensitively) in the title, subtitle, artist, genre or
// song folder; filters by key count and level; sorting by any column. Works
// on the entries read once from library.db, so a keystroke costs no
// database query. Any thread, one index per thread.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "library/library_entry.h"

namespace vremo {

enum class LibraryColumn : uint8_t {
  kTitle,
  kArtist,
  kGenre,
  kLevel,
  kKeys,
  kBpm,
  kNotes,
  kLength,
  kBestJudgePoints,
  kPlays,
  kFolder,
  kPath,
};
inline constexpr size_t kLibraryColumnCount = static_cast<size_t>(LibraryColumn::kPath) + 1;

struct LibraryQuery {
  std::string text;      // UTF-8; words separated by blanks
  int32_t keyCount = 0;  // 0 = any
  int32_t minLevel = 0;  // 0 = no lower bound
  int32_t maxLevel = 0;  // 0 = no upper bound
  LibraryColumn sortBy = LibraryColumn::kPath;
  bool descending = false;
};

// The text as the index compares it: lower case (ASCII, Latin-1, Greek,
// Cyrillic) and fullwidth letters and digits as ASCII.
std::string FoldForSearch(std::string_view text);

class LibraryIndex {
 public:
  explicit LibraryIndex(std::vector<LibraryEntry> entries);

  const std::vector<LibraryEntry>& entries() const { return entries_; }
  // Indices into entries() of the matching charts, in the query's order
  // (ties by path).
  std::vector<int32_t> Find(const LibraryQuery& query) const;

 private:
  // Every entry in a column's order, made the first time a query sorts by
  // it in that direction: a query that matches most of the library then
  // needs no sort.
  const std::vector<int32_t>& OrderOf(LibraryColumn column, bool descending) const;

  std::vector<LibraryEntry> entries_;
  std::vector<std::string> folded_;  // each entry's searchable text, case-folded
  mutable std::array<std::vector<int32_t>, 2 * kLibraryColumnCount> orders_;
};

}  // namespace vremo
