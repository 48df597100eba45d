// The play list's entries, rows, caption and playing order.
#include "shell/play_list.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

#include "chart/file_bytes.h"
#include "shell/atomic_file.h"
#include "shell/play_list_file.h"

namespace vremo {
namespace {

namespace fs = std::filesystem;

constexpr int32_t kMsPerSecond = 1000;
constexpr int32_t kMsPerMinute = 60 * kMsPerSecond;
constexpr int64_t kMsPerHour = 60 * kMsPerMinute;

std::string TwoDigits(int64_t value) {
  std::string text = std::to_string(value);
  return text.size() < 2 ? "0" + text : text;
}

bool IsChartFile(const fs::path& path) {
  std::string ext = path.extension().string();
  for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return ext == ".bms" || ext == ".bme";
}

void FindChartsIn(const fs::path& folder, std::vector<std::string>& found) {
  std::vector<fs::path> files;
  std::vector<fs::path> folders;
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    // Linked folders are not followed: a link to a parent would never end.
    if (it->is_symlink(ec)) {
      if (it->is_regular_file(ec) && IsChartFile(it->path())) files.push_back(it->path());
    } else if (it->is_directory(ec)) {
      folders.push_back(it->path());
    } else if (it->is_regular_file(ec) && IsChartFile(it->path())) {
      files.push_back(it->path());
    }
  }
  std::sort(files.begin(), files.end());
  std::sort(folders.begin(), folders.end());
  for (const auto& file : files) found.push_back(file.string());
  for (const auto& sub : folders) FindChartsIn(sub, found);
}

}  // namespace

std::string ListLengthText(int32_t lengthMs) {
  return std::to_string(lengthMs / kMsPerMinute) + ":" + TwoDigits((lengthMs / kMsPerSecond) % 60);
}

std::string ListRowText(const ChartListInfo& entry) {
  return entry.artist + " - " + entry.title + "\t" + ListLengthText(entry.lengthMs);
}

std::vector<std::string> FindChartFiles(const std::string& folder) {
  std::vector<std::string> found;
  FindChartsIn(folder, found);
  return found;
}

void PlayList::UpCap() {
  int64_t total = 0;
  for (const auto& entry : entries_) total += entry.lengthMs;
  caption_ = "PlayList [" + std::to_string(Count() + 1) + "songs/" + TwoDigits(total / kMsPerHour) + ":" +
             TwoDigits((total / kMsPerMinute) % 60) + ":" + TwoDigits((total / kMsPerSecond) % 60) + "] - " +
             (listFile_.empty() ? std::string("New List") : listFile_);
  host_.ListChanged();
}

void PlayList::AddEntry(const std::string& path) {
  ChartListInfo entry;
  if (log_.CheckExist(path)) {
    if (auto info = ReadChartHeader(path)) entry = std::move(*info);
  }
  entries_.push_back(std::move(entry));
  rows_.push_back(ListRowText(entries_.back()));
}

void PlayList::ListAdd(const std::string& path) {
  AddEntry(path);
  UpCap();
}

void PlayList::ListAddFolder(const std::string& folder) {
  log_.PutLog("searching files...");
  // One caption and one redraw of the rows for the whole folder: per file,
  // both cost the length of the list, and a folder may hold thousands.
  for (const auto& path : FindChartFiles(folder)) AddEntry(path);
  UpCap();
}

void PlayList::ListClear() {
  entries_.clear();
  rows_.clear();
  current_ = 0;
  UpCap();
}

void PlayList::ListRemove(int32_t index) {
  if (index < 0 || index > Count()) return;
  entries_.erase(entries_.begin() + index);
  rows_.erase(rows_.begin() + index);
  if (current_ > index) --current_;  // the playing entry keeps its place in the order
  UpCap();
}

void PlayList::ListSwap(int32_t a, int32_t b) {
  if (a < 0 || b < 0 || a > Count() || b > Count()) return;
  std::swap(entries_[static_cast<size_t>(a)], entries_[static_cast<size_t>(b)]);
  std::swap(rows_[static_cast<size_t>(a)], rows_[static_cast<size_t>(b)]);
  host_.ListChanged();
}

void PlayList::ListMove(int32_t from, int32_t to) {
  for (int32_t i = from; i < to; ++i) ListSwap(i, i + 1);
  for (int32_t i = from; i > to; --i) ListSwap(i, i - 1);
}

void PlayList::RebuildRows() {
  rows_.clear();
  for (const auto& entry : entries_) rows_.push_back(ListRowText(entry));
}

void PlayList::ListLoad(const std::string& path, bool silent) {
  const FileRead file = ReadWholeFile(path);
  if (file.status != FileReadStatus::kMissing) {
    if (!file.ok()) log_.PutLog(FileReadErrorLine(file, path));
    entries_.clear();
    const bool ok = file.ok() && DecodeListFile(file.bytes, entries_);
    RebuildRows();
    if (!ok) {
      brokenFiles_.push_back(path);
      host_.ShowMessage("an error occured in list loading process!", std::string(kListErrorTitle));
    }
  } else if (!silent) {
    host_.ShowMessage("listfile " + path + "is not exist.", std::string(kListErrorTitle));
  }
  listFile_ = path;
  UpCap();
}

bool PlayList::ListSave(const std::string& path) {
  // A list that could not be read is kept beside its replacement.
  bool ok = true;
  if (std::find(brokenFiles_.begin(), brokenFiles_.end(), path) != brokenFiles_.end()) {
    ok = BackUpFile(path);
    if (ok) std::erase(brokenFiles_, path);
  }
  ok = ok && WriteFileAtomically(path, EncodeListFile(entries_));
  if (!ok) host_.ShowMessage("an error occured in list saving process!", std::string(kListErrorTitle));
  listFile_ = path;
  UpCap();
  return ok;
}

void PlayList::ListPlay(int32_t index) {
  if (index < 0 || index > Count()) {
    log_.PutLog("error: Subscript out of range");
    return;
  }
  host_.PlayChart(entries_[static_cast<size_t>(index)].path);
  current_ = index;
  ++playSerial_;
  host_.ListChanged();
}

void PlayList::ListNext() {
  if (repeatOne_) {
    ListPlay(current_);
  } else if (current_ < Count()) {
    ListPlay(current_ + 1);
  } else if (repeatAll_) {
    ListPlay(0);
  }
}

void PlayList::ListPrev() {
  if (current_ > 0) ListPlay(current_ - 1);
}

void PlayList::ListUpdateNow() {
  if (current_ < 0 || current_ > Count()) return;
  auto& entry = entries_[static_cast<size_t>(current_)];
  if (!log_.CheckExist(entry.path)) return;
  if (auto info = ReadChartHeader(entry.path)) entry = std::move(*info);
  rows_[static_cast<size_t>(current_)] = ListRowText(entry);
  UpCap();
}

void PlayList::LoadDefault(const std::string& folder) {
  log_.PutLog("loading default.vrl...");
  ListLoad((fs::path(folder) / kDefaultListName).string(), true);
  log_.PutLog("load complete.");
}

void PlayList::SaveDefault(const std::string& folder) {
  log_.PutLog("saving default.vrl...");
  if (ListSave((fs::path(folder) / kDefaultListName).string())) log_.PutLog("save complete.");
}

}  // namespace vremo
