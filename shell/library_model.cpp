// The library window's rows: flat or grouped by song folder.
#include "shell/library_model.h"

#include <cmath>
#include <unordered_map>

#include "chart/numbers.h"
#include "play/number_format.h"
#include "shell/play_list.h"
#include "shell/qt_text.h"

namespace vremo {
namespace {

// A folder row has no group above it; a chart row under a folder keeps its
// folder's number + 1 here.
constexpr quintptr kTopLevel = 0;

constexpr double kBpmScale = 100.0;

double RoundedBpm(double value) { return std::round(value * kBpmScale) / kBpmScale; }

}  // namespace

std::string LibraryBpmText(const LibraryEntry& entry) {
  const double low = RoundedBpm(entry.bpmMin > 0 ? entry.bpmMin : entry.bpm);
  const double high = RoundedBpm(entry.bpmMax > 0 ? entry.bpmMax : entry.bpm);
  if (low == high) return ShortestDecimal(low);
  return ShortestDecimal(low) + "-" + ShortestDecimal(high);
}

std::string LibraryBestText(const LibraryEntry& entry) {
  if (entry.result.plays == 0) return {};
  return FormatNumber(entry.result.bestJudgePoints, 1, 1);
}

std::string LibraryLastPart(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string LibraryDetailsText(const LibraryEntry& e) {
  std::string text = e.path + "\n";
  text += "Title: " + e.title + (e.subtitle.empty() ? "" : " " + e.subtitle) + "\n";
  text += "Artist: " + e.artist + "\n";
  text += "Genre: " + e.genre + "\n";
  text += "BPM: " + LibraryBpmText(e) + "\n";
  text += "Level: " + std::to_string(e.playLevel) + "\n";
  text += "Keys: " + std::to_string(e.keyCount) + "\n";
  text += "Notes: " + std::to_string(e.noteCount) + "\n";
  text += "Length: " + ListLengthText(e.lengthMs) + "\n";
  text += "Encoding: " + e.encoding + "\n";
  text += std::string("Modern reading: ") + (e.needsModern ? "yes" : "no") + "\n";
  const LibraryResult& r = e.result;
  if (r.plays == 0) return text + "Not played yet";
  text += "Best: J-Pts " + LibraryBestText(e) + ", Pts " + std::to_string(r.bestPoints) + ", Ex-Pts " +
          std::to_string(r.bestExPoints) + "\n";
  const LibraryCounts& c = r.bestCounts;
  text += "fGreat " + std::to_string(c.fGreat) + " Great " + std::to_string(c.great) + " Good " +
          std::to_string(c.good) + " Bad " + std::to_string(c.bad) + " Poor " + std::to_string(c.poor) + "\n";
  return text + "Plays: " + std::to_string(r.plays);
}

void LibraryModel::SetRows(const LibraryIndex* index, const std::vector<int32_t>& found, bool grouped) {
  beginResetModel();
  index_ = index;
  grouped_ = grouped;
  flat_.clear();
  groups_.clear();
  if (!grouped) {
    flat_ = found;
  } else {
    // Folders in the order their first chart comes in the search's order.
    std::unordered_map<std::string, size_t> groupOf;
    for (int32_t i : found) {
      const std::string& folder = index->entries()[static_cast<size_t>(i)].folder;
      auto [it, added] = groupOf.emplace(folder, groups_.size());
      if (added) groups_.push_back({folder, {}});
      groups_[it->second].entries.push_back(i);
    }
  }
  endResetModel();
}

int32_t LibraryModel::EntryAt(const QModelIndex& row) const {
  if (!row.isValid()) return -1;
  const auto r = static_cast<size_t>(row.row());
  if (!grouped_) return r < flat_.size() ? flat_[r] : -1;
  if (row.internalId() == kTopLevel) return -1;
  const Group& group = groups_[static_cast<size_t>(row.internalId() - 1)];
  return r < group.entries.size() ? group.entries[r] : -1;
}

std::vector<QModelIndex> LibraryModel::RowsOf(const std::unordered_set<int32_t>& entries) const {
  std::vector<QModelIndex> rows;
  if (entries.empty()) return rows;
  if (!grouped_) {
    for (size_t r = 0; r < flat_.size(); ++r) {
      if (entries.count(flat_[r]) != 0) rows.push_back(createIndex(static_cast<int>(r), 0, kTopLevel));
    }
    return rows;
  }
  for (size_t g = 0; g < groups_.size(); ++g) {
    const auto& group = groups_[g].entries;
    for (size_t r = 0; r < group.size(); ++r) {
      if (entries.count(group[r]) != 0)
        rows.push_back(createIndex(static_cast<int>(r), 0, static_cast<quintptr>(g + 1)));
    }
  }
  return rows;
}

std::vector<int32_t> LibraryModel::EntriesInOrder() const {
  if (!grouped_) return flat_;
  std::vector<int32_t> all;
  for (const Group& group : groups_) all.insert(all.end(), group.entries.begin(), group.entries.end());
  return all;
}

QModelIndex LibraryModel::index(int row, int column, const QModelIndex& parent) const {
  if (row < 0 || column < 0 || column >= columnCount()) return {};
  if (!parent.isValid()) {
    return row < rowCount() ? createIndex(row, column, kTopLevel) : QModelIndex();
  }
  if (!grouped_ || parent.internalId() != kTopLevel) return {};
  const auto group = static_cast<size_t>(parent.row());
  if (group >= groups_.size() || static_cast<size_t>(row) >= groups_[group].entries.size()) return {};
  return createIndex(row, column, static_cast<quintptr>(group + 1));
}

QModelIndex LibraryModel::parent(const QModelIndex& child) const {
  if (!child.isValid() || !grouped_ || child.internalId() == kTopLevel) return {};
  return createIndex(static_cast<int>(child.internalId() - 1), 0, kTopLevel);
}

int LibraryModel::rowCount(const QModelIndex& parent) const {
  if (!parent.isValid()) return static_cast<int>(grouped_ ? groups_.size() : flat_.size());
  if (!grouped_ || parent.internalId() != kTopLevel || parent.column() != 0) return 0;
  return static_cast<int>(groups_[static_cast<size_t>(parent.row())].entries.size());
}

int LibraryModel::columnCount(const QModelIndex&) const { return static_cast<int>(kLibraryColumns.size()); }

QString LibraryModel::EntryText(const LibraryEntry& e, int column) const {
  switch (kLibraryColumns[static_cast<size_t>(column)].sortKey) {
    case LibraryColumn::kTitle:
      return ToQString(e.title);
    case LibraryColumn::kArtist:
      return ToQString(e.artist);
    case LibraryColumn::kGenre:
      return ToQString(e.genre);
    case LibraryColumn::kLevel:
      return QString::number(e.playLevel);
    case LibraryColumn::kKeys:
      return QString::number(e.keyCount);
    case LibraryColumn::kBpm:
      return ToQString(LibraryBpmText(e));
    case LibraryColumn::kNotes:
      return QString::number(e.noteCount);
    case LibraryColumn::kLength:
      return ToQString(ListLengthText(e.lengthMs));
    case LibraryColumn::kBestJudgePoints:
      return ToQString(LibraryBestText(e));
    case LibraryColumn::kPlays:
      return e.result.plays == 0 ? QString() : QString::number(e.result.plays);
    case LibraryColumn::kFolder:
      return ToQString(LibraryLastPart(e.folder));
    case LibraryColumn::kPath:
      return ToQString(e.path);
  }
  return {};
}

QVariant LibraryModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index_ == nullptr) return {};
  if (role == Qt::TextAlignmentRole) {
    const LibraryColumn key = kLibraryColumns[static_cast<size_t>(index.column())].sortKey;
    const bool figure = key != LibraryColumn::kTitle && key != LibraryColumn::kArtist && key != LibraryColumn::kGenre &&
                        key != LibraryColumn::kFolder;
    return QVariant::fromValue(figure ? Qt::AlignRight | Qt::AlignVCenter : Qt::AlignLeft | Qt::AlignVCenter);
  }
  if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
  const int32_t entry = EntryAt(index);
  if (entry < 0) {
    // A folder row: its name under Title, its place under Folder.
    const Group& group = groups_[static_cast<size_t>(index.row())];
    if (index.column() == 0) return ToQString(LibraryLastPart(group.folder));
    if (kLibraryColumns[static_cast<size_t>(index.column())].sortKey == LibraryColumn::kFolder) {
      return ToQString(group.folder);
    }
    return {};
  }
  const LibraryEntry& e = index_->entries()[static_cast<size_t>(entry)];
  if (role == Qt::ToolTipRole) return ToQString(e.path);
  return EntryText(e, index.column());
}

QVariant LibraryModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  if (section < 0 || section >= columnCount()) return {};
  return QString(kLibraryColumns[static_cast<size_t>(section)].caption);
}

}  // namespace vremo
