#pragma once
// The library window `frmLibrary`: every chart of the library folders in a
// table (or a tree of song folders), a search field that filters as the
// user types, key-mode and level filters, sorting by any column, the
// selected chart's details and best result, and the scan of the library
// folders with its progress. Enter or a double click plays a chart the way
// the play list does; Insert or "Add to play list" appends the selected
// charts to the play list.
//
// library.db is created only when the user first shows the window, adds a
// library folder or asks for a scan; an existing one is opened to list its
// folders. The scan runs on its own thread with its own connection and posts
// its progress to this window; everything else runs on the UI thread.

#include <QWidget>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "library/library_db.h"
#include "library/library_scan.h"
#include "library/library_search.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QSpinBox;
class QTreeView;

namespace vremo {

class DebugLog;
class LibraryModel;

inline constexpr std::string_view kLibraryTitle = "Library";
inline constexpr std::string_view kScanningFormat = "Scanning... %1/%2 folders";
// Log lines of a scan: each thing it skipped, then what it did.
inline constexpr std::string_view kScanSkippedPrefix = "Library scan skipped: ";
inline constexpr std::string_view kScanSummaryPrefix = "Library scan: ";
inline constexpr std::string_view kScanStoppedSuffix = " (stopped)";

// What the window asks of the player.
struct LibraryActions {
  std::function<void(const std::string&)> play;  // as the play list plays an entry
  std::function<void(const std::string&)> add;   // appends to the play list
  std::function<void(const std::string& text, const std::string& title)> message;
};

class LibraryWindow : public QWidget {
  Q_OBJECT

 public:
  LibraryWindow(LibraryActions actions, DebugLog& log, std::string programFolder, std::string libraryPath,
                QWidget* parent);
  ~LibraryWindow() override;

  // The library folders; empty without opening anything when there is no
  // library yet.
  std::vector<std::string> Roots();
  // Opens (creating) the library to add a folder; false when it was there.
  bool AddRoot(const std::string& folder);
  void RemoveRoot(const std::string& folder);
  // Starts a scan of every library folder unless one runs.
  void StartScan();
  // Stops a running scan and waits for its thread.
  void StopScan();
  bool Scanning() const { return scanThread_.joinable(); }
  // A play ended: results the score log gained are read in (only when the
  // library is open).
  void PlayEnded();

  // The charts shown, top to bottom, and the selected ones in that order.
  std::vector<std::string> ShownPaths() const;
  std::vector<std::string> SelectedPaths() const;
  // Selects the row of the chart (and makes it current); false when not shown.
  bool SelectPath(const std::string& path);
  void PlaySelected();
  void AddSelected();

 signals:
  // The library folders changed (the option panel lists them).
  void RootsChanged();
  // A scan ended and its results are shown.
  void ScanFinished();

 protected:
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QWidget* MakeFilterBar();
  QWidget* MakeScanBar();
  bool OpenLibrary();
  void ReadEntries();
  void ApplyQuery();
  // The rows of the query, with these charts selected and current again.
  void ShowRows(const std::vector<std::string>& selected, const std::string& current);
  std::string CurrentPath() const;
  void ShowDetails();
  void SortByColumn(int column);
  bool SearchKeyDown(int key);
  // `serial` tells a scan from the one before it.
  void ScanProgressed(int serial, const ScanProgress& progress);
  void ScanEnded(int serial, const ScanReport& report);
  void UpdateStatus();

  LibraryActions actions_;
  DebugLog& log_;
  std::string programFolder_;
  std::string libraryPath_;
  std::unique_ptr<LibraryDb> db_;
  std::unique_ptr<LibraryIndex> index_;
  int64_t readVersion_ = 0;  // the library's data version the rows were read at
  LibraryModel* model_ = nullptr;
  LibraryQuery query_;
  int sortSection_ = -1;
  std::thread scanThread_;
  int scanSerial_ = 0;
  std::atomic<bool> cancelScan_{false};

  QLineEdit* txtSearch = nullptr;
  QComboBox* cmbKeys = nullptr;
  QSpinBox* spnLevelFrom = nullptr;
  QSpinBox* spnLevelTo = nullptr;
  QCheckBox* chkGroup = nullptr;
  QTreeView* tvwCharts = nullptr;
  QPlainTextEdit* txtDetails = nullptr;
  QLabel* lblCount = nullptr;
  QPushButton* cmdAdd = nullptr;
  QPushButton* cmdScan = nullptr;
  QPushButton* cmdStop = nullptr;
  QProgressBar* prgScan = nullptr;
};

}  // namespace vremo
