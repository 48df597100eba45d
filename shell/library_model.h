#pragma once
// The rows the library window shows: the charts a LibraryIndex found, flat
// (one row per chart) or grouped (one row per song folder with its charts
// below it), in the order of the search. The model holds only indices into
// the index's entries, so a keystroke rebuilds it cheaply. UI thread only.

#include <QAbstractItemModel>
#include <QString>
#include <array>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "library/library_entry.h"
#include "library/library_search.h"

namespace vremo {

// The columns in the order shown, each with the key the search sorts by.
struct LibraryColumnInfo {
  const char* caption;
  LibraryColumn sortKey;
  int width;  // at first, in characters
};
inline constexpr std::array<LibraryColumnInfo, 11> kLibraryColumns = {{
    {"Title", LibraryColumn::kTitle, 30},
    {"Artist", LibraryColumn::kArtist, 18},
    {"Genre", LibraryColumn::kGenre, 14},
    {"Level", LibraryColumn::kLevel, 8},
    {"Keys", LibraryColumn::kKeys, 7},
    {"BPM", LibraryColumn::kBpm, 13},
    {"Notes", LibraryColumn::kNotes, 9},
    {"Length", LibraryColumn::kLength, 9},
    {"Best (J-Pts)", LibraryColumn::kBestJudgePoints, 15},
    {"Plays", LibraryColumn::kPlays, 8},
    {"Folder", LibraryColumn::kFolder, 18},
}};

// "150", or "120-180" when the tempo changes (two decimals at most).
std::string LibraryBpmText(const LibraryEntry& entry);
// The best J-Pts as the score log writes them ("1234.5"); empty when never played.
std::string LibraryBestText(const LibraryEntry& entry);
// The last part of a path ("/a/b/Song" -> "Song").
std::string LibraryLastPart(const std::string& path);
// Every line of the details panel for one chart.
std::string LibraryDetailsText(const LibraryEntry& entry);

class LibraryModel : public QAbstractItemModel {
 public:
  using QAbstractItemModel::QAbstractItemModel;

  // `index` must outlive the rows set from it (the window keeps both).
  void SetRows(const LibraryIndex* index, const std::vector<int32_t>& found, bool grouped);

  // The entry a row shows; -1 for a folder row (or no row).
  int32_t EntryAt(const QModelIndex& row) const;
  // The rows (column 0) showing these entries, top to bottom.
  std::vector<QModelIndex> RowsOf(const std::unordered_set<int32_t>& entries) const;
  // Every entry shown, top to bottom.
  std::vector<int32_t> EntriesInOrder() const;
  bool grouped() const { return grouped_; }

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& child) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  struct Group {
    std::string folder;
    std::vector<int32_t> entries;
  };
  QString EntryText(const LibraryEntry& entry, int column) const;

  const LibraryIndex* index_ = nullptr;
  bool grouped_ = false;
  std::vector<int32_t> flat_;
  std::vector<Group> groups_;
};

}  // namespace vremo
