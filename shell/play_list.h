#pragma once
// The play list without its window: the ordered charts, the row texts and
// caption the window shows, the list files (*.vrl) and the playing order.
// The play-list window owns one PlayList and forwards its menus, keys and
// drops here; the command line, the drop handler and the end of a song call
// the List* routines. UI thread only.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "chart/bms_reader.h"
#include "chart/debug_log.h"

namespace vremo {

inline constexpr std::string_view kDefaultListName = "default.vrl";
inline constexpr std::string_view kChartFileFilter = "BMS/BME Files(*.bms;*.bme)|*.bms;*.bme|All Files|*.*";
inline constexpr std::string_view kListFileFilter = "リストファイル(*.vrl)|*.vrl|すべてのファイル|*.*";
inline constexpr std::string_view kAddFolderTitle = "追加するフォルダを選択";
inline constexpr std::string_view kListErrorTitle = "error";

// What the list needs from the player and the window.
class PlayListHost {
 public:
  virtual ~PlayListHost() = default;
  // Puts the path into timPlay's tag and enables timPlay.
  virtual void PlayChart(const std::string& path) = 0;
  // A message box with the critical-stop icon.
  virtual void ShowMessage(const std::string& text, const std::string& title) = 0;
  // Rows, selection or caption changed: the window shows them again.
  virtual void ListChanged() = 0;
};

// "artist - title" TAB "m:ss".
std::string ListRowText(const ChartListInfo& entry);
// Whole minutes, ":", two-digit seconds: 125000 -> "2:05".
std::string ListLengthText(int32_t lengthMs);

// Every *.bms and *.bme file under the folder and its subfolders (any case),
// each folder's files in name order before its subfolders.
std::vector<std::string> FindChartFiles(const std::string& folder);

class PlayList {
 public:
  PlayList(PlayListHost& host, DebugLog& log) : host_(host), log_(log) {}

  void UpCap();
  void ListAdd(const std::string& path);
  void ListAddFolder(const std::string& folder);  // "searching files...", every chart, then UpCap
  void ListClear();
  void ListRemove(int32_t index);
  void ListLoad(const std::string& path, bool silent);
  // False (after the message) when the file could not be written.
  bool ListSave(const std::string& path);
  void ListSwap(int32_t a, int32_t b);
  void ListMove(int32_t from, int32_t to);  // adjacent swaps, as dragging does
  void ListPlay(int32_t index);
  void ListNext();
  void ListPrev();
  void ListUpdateNow();

  // default.vrl in the program's folder, read at start and written at exit
  // ("save complete." only when it was written).
  void LoadDefault(const std::string& folder);
  void SaveDefault(const std::string& folder);

  void SetRepeatOne(bool on) { repeatOne_ = on; }  // chkRep item 0, "Rep 1"
  void SetRepeatAll(bool on) { repeatAll_ = on; }  // chkRep item 1, "Rep All"

  int32_t Count() const { return static_cast<int32_t>(entries_.size()) - 1; }
  int32_t currentIndex() const { return current_; }
  // Counts ListPlay calls, so the window can select the row of every play
  // (also a repeat of the same entry).
  int32_t playSerial() const { return playSerial_; }
  const std::vector<ChartListInfo>& entries() const { return entries_; }
  const std::vector<std::string>& rows() const { return rows_; }
  const std::string& caption() const { return caption_; }
  const std::string& listFile() const { return listFile_; }

 private:
  void AddEntry(const std::string& path);  // ListAdd without UpCap
  bool ReadListFile(const std::string& bytes);
  void RebuildRows();

  PlayListHost& host_;
  DebugLog& log_;
  std::vector<ChartListInfo> entries_;
  std::vector<std::string> rows_;
  int32_t current_ = 0;
  int32_t playSerial_ = 0;
  bool repeatOne_ = false;
  bool repeatAll_ = false;
  std::string caption_;
  std::string listFile_;
  // Lists that failed to load: kept as <name>.bak before being overwritten.
  std::vector<std::string> brokenFiles_;
};

}  // namespace vremo
