// The library window: search, filters, the chart table or folder tree, the
// details of a chart and the scan on its own thread.
#include "shell/library_window.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QSplitter>
#include <QTreeView>
#include <QVBoxLayout>
#include <exception>
#include <filesystem>
#include <unordered_set>
#include <utility>

#include "chart/debug_log.h"
#include "shell/library_model.h"
#include "shell/qt_text.h"

namespace vremo {
namespace {

constexpr int kInitialWidth = 1180;
constexpr int kInitialHeight = 560;
constexpr int kDetailsWidth = 260;
constexpr int kMaxLevel = 999;
constexpr size_t kOpenFoldersLimit = 1000;

// The key-mode filter's items and the key counts they ask for (0 = any).
struct KeyMode {
  const char* caption;
  int32_t keys;
};
constexpr KeyMode kKeyModes[] = {{"Any", 0}, {"5K", 5}, {"7K", 7}, {"10K", 10}, {"14K", 14}, {"9K", 9}};

std::string ScanSummary(const ScanReport& report) {
  std::string line = std::string(kScanSummaryPrefix) + std::to_string(report.added) + " added, " +
                     std::to_string(report.updated) + " updated, " + std::to_string(report.removed) + " removed, " +
                     std::to_string(report.unchanged) + " unchanged";
  return report.cancelled ? line + std::string(kScanStoppedSuffix) : line;
}

}  // namespace

LibraryWindow::LibraryWindow(LibraryActions actions, DebugLog& log, std::string programFolder, std::string libraryPath,
                             QWidget* parent)
    : QWidget(parent, Qt::Window),
      actions_(std::move(actions)),
      log_(log),
      programFolder_(std::move(programFolder)),
      libraryPath_(std::move(libraryPath)) {
  setObjectName("frmLibrary");
  setWindowTitle(ToQString(kLibraryTitle));
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(4, 4, 4, 4);
  column->addWidget(MakeFilterBar());

  model_ = new LibraryModel(this);
  tvwCharts = new QTreeView;
  tvwCharts->setObjectName("tvwCharts");
  tvwCharts->setToolTip(tr("Enter or double-click plays a chart; Insert adds the selected charts to the play list"));
  tvwCharts->setModel(model_);
  tvwCharts->setUniformRowHeights(true);
  tvwCharts->setRootIsDecorated(false);
  tvwCharts->setSelectionMode(QAbstractItemView::ExtendedSelection);
  tvwCharts->setSelectionBehavior(QAbstractItemView::SelectRows);
  tvwCharts->installEventFilter(this);
  QHeaderView* header = tvwCharts->header();
  header->setSectionsClickable(true);
  header->setSortIndicatorShown(true);
  header->setSortIndicator(-1, Qt::AscendingOrder);
  connect(header, &QHeaderView::sectionClicked, this, &LibraryWindow::SortByColumn);
  const int charWidth = tvwCharts->fontMetrics().averageCharWidth();
  for (size_t i = 0; i < kLibraryColumns.size(); ++i) {
    header->resizeSection(static_cast<int>(i), kLibraryColumns[i].width * charWidth);
  }
  connect(tvwCharts, &QTreeView::doubleClicked, this, [this](const QModelIndex& row) {
    if (model_->EntryAt(row) >= 0) PlaySelected();
  });
  connect(tvwCharts->selectionModel(), &QItemSelectionModel::currentChanged, this, [this] { ShowDetails(); });

  txtDetails = new QPlainTextEdit;
  txtDetails->setObjectName("txtLibraryDetails");
  txtDetails->setReadOnly(true);
  txtDetails->setToolTip(tr("The selected chart and its best result"));
  auto* split = new QSplitter;
  split->addWidget(tvwCharts);
  split->addWidget(txtDetails);
  split->setStretchFactor(0, 1);
  split->setSizes({kInitialWidth - kDetailsWidth, kDetailsWidth});
  column->addWidget(split, 1);
  column->addWidget(MakeScanBar());
  resize(kInitialWidth, kInitialHeight);
}

LibraryWindow::~LibraryWindow() {
  StopScan();
  // The rows point into the index, which goes before the view stops drawing.
  model_->SetRows(nullptr, {}, chkGroup->isChecked());
}

QWidget* LibraryWindow::MakeFilterBar() {
  auto* bar = new QWidget;
  auto* row = new QHBoxLayout(bar);
  row->setContentsMargins(0, 0, 0, 0);
  txtSearch = new QLineEdit;
  txtSearch->setObjectName("txtLibrarySearch");
  txtSearch->setPlaceholderText(tr("Search title, artist, genre, folder"));
  txtSearch->setClearButtonEnabled(true);
  connect(txtSearch, &QLineEdit::textChanged, this, &LibraryWindow::ApplyQuery);
  txtSearch->installEventFilter(this);
  cmbKeys = new QComboBox;
  cmbKeys->setObjectName("cmbLibraryKeys");
  cmbKeys->setToolTip(tr("Key mode"));
  for (const KeyMode& mode : kKeyModes) cmbKeys->addItem(mode.caption, mode.keys);
  connect(cmbKeys, &QComboBox::currentIndexChanged, this, &LibraryWindow::ApplyQuery);
  spnLevelFrom = new QSpinBox;
  spnLevelTo = new QSpinBox;
  spnLevelFrom->setObjectName("spnLevelFrom");
  spnLevelTo->setObjectName("spnLevelTo");
  for (QSpinBox* spin : {spnLevelFrom, spnLevelTo}) {
    // 0 is "no bound", shown as a dash.
    spin->setRange(0, kMaxLevel);
    spin->setSpecialValueText("-");
    connect(spin, &QSpinBox::valueChanged, this, &LibraryWindow::ApplyQuery);
  }
  spnLevelFrom->setToolTip(tr("Lowest level shown"));
  spnLevelTo->setToolTip(tr("Highest level shown"));
  chkGroup = new QCheckBox(tr("Group by folder"));
  chkGroup->setObjectName("chkLibraryGroup");
  chkGroup->setToolTip(tr("Show each song folder with its charts below it"));
  connect(chkGroup, &QCheckBox::toggled, this, [this](bool on) {
    tvwCharts->setRootIsDecorated(on);
    ApplyQuery();
  });
  row->addWidget(txtSearch, 1);
  row->addWidget(cmbKeys);
  row->addWidget(new QLabel(tr("Level")));
  row->addWidget(spnLevelFrom);
  row->addWidget(new QLabel(tr("to")));
  row->addWidget(spnLevelTo);
  row->addWidget(chkGroup);
  return bar;
}

QWidget* LibraryWindow::MakeScanBar() {
  auto* bar = new QWidget;
  auto* row = new QHBoxLayout(bar);
  row->setContentsMargins(0, 0, 0, 0);
  cmdAdd = new QPushButton(tr("Add to play list"));
  cmdAdd->setObjectName("cmdLibraryAdd");
  cmdAdd->setToolTip(tr("Append the selected charts to the play list (Insert)"));
  connect(cmdAdd, &QPushButton::clicked, this, &LibraryWindow::AddSelected);
  lblCount = new QLabel;
  lblCount->setObjectName("lblLibraryCount");
  prgScan = new QProgressBar;
  prgScan->setObjectName("prgLibraryScan");
  prgScan->hide();
  cmdScan = new QPushButton(tr("Scan"));
  cmdScan->setObjectName("cmdLibraryScan");
  cmdScan->setToolTip(tr("Read what changed in the library folders"));
  connect(cmdScan, &QPushButton::clicked, this, &LibraryWindow::StartScan);
  cmdStop = new QPushButton(tr("Stop"));
  cmdStop->setObjectName("cmdLibraryStop");
  cmdStop->setToolTip(tr("Stop the scan; the next one goes on from there"));
  cmdStop->setEnabled(false);
  connect(cmdStop, &QPushButton::clicked, this, &LibraryWindow::StopScan);
  row->addWidget(cmdAdd);
  row->addWidget(lblCount);
  row->addWidget(prgScan, 1);
  row->addStretch(0);
  row->addWidget(cmdScan);
  row->addWidget(cmdStop);
  return bar;
}

// --- The library file.

bool LibraryWindow::OpenLibrary() {
  if (db_ != nullptr) return true;
  std::string message;
  db_ = LibraryDb::Open(libraryPath_, &message);
  if (!message.empty()) {
    log_.PutLog(message);
    if (actions_.message) actions_.message(message, std::string(kLibraryTitle));
  }
  return db_ != nullptr;
}

std::vector<std::string> LibraryWindow::Roots() {
  if (db_ == nullptr && !std::filesystem::exists(libraryPath_)) return {};
  if (!OpenLibrary()) return {};
  return db_->Roots();
}

bool LibraryWindow::AddRoot(const std::string& folder) {
  if (!OpenLibrary() || !db_->AddRoot(folder)) return false;
  emit RootsChanged();
  return true;
}

void LibraryWindow::RemoveRoot(const std::string& folder) {
  // A running scan would write the folder's charts back.
  StopScan();
  if (!OpenLibrary() || !db_->RemoveRoot(folder)) return;
  if (index_ != nullptr) ReadEntries();
  emit RootsChanged();
}

void LibraryWindow::ReadEntries() {
  // The rows point into the index: what they show is taken before it goes.
  const std::vector<std::string> selected = SelectedPaths();
  const std::string current = CurrentPath();
  readVersion_ = db_->DataVersion();
  std::unique_ptr<LibraryIndex> old = std::exchange(index_, std::make_unique<LibraryIndex>(db_->Entries()));
  ShowRows(selected, current);
  old.reset();
}

void LibraryWindow::PlayEnded() {
  // The rows are read when the window is first shown, not before.
  if (db_ == nullptr || db_->ImportScoreLog(programFolder_) == 0 || index_ == nullptr) return;
  ReadEntries();
}

void LibraryWindow::showEvent(QShowEvent* event) {
  if (OpenLibrary()) {
    // Results of plays since the window was last shown, and what another
    // Vremo (--library-add, --library-scan) wrote meanwhile.
    const bool elsewhere = index_ != nullptr && db_->DataVersion() != readVersion_;
    const bool gained = db_->ImportScoreLog(programFolder_) > 0;
    if (gained || elsewhere || index_ == nullptr) ReadEntries();
    if (elsewhere) emit RootsChanged();
  }
  QWidget::showEvent(event);
}

void LibraryWindow::closeEvent(QCloseEvent* event) {
  StopScan();
  QWidget::closeEvent(event);
}

// --- Search and rows.

void LibraryWindow::ApplyQuery() {
  if (index_ != nullptr) ShowRows(SelectedPaths(), CurrentPath());
}

void LibraryWindow::ShowRows(const std::vector<std::string>& selected, const std::string& current) {
  query_.text = txtSearch->text().toStdString();
  query_.keyCount = cmbKeys->currentData().toInt();
  query_.minLevel = spnLevelFrom->value();
  query_.maxLevel = spnLevelTo->value();
  model_->SetRows(index_.get(), index_->Find(query_), chkGroup->isChecked());
  // Opening thousands of folders at once takes the view most of a second:
  // a long list shows them closed, a search narrow enough shows them open.
  if (model_->grouped() && model_->EntriesInOrder().size() <= kOpenFoldersLimit) tvwCharts->expandAll();
  // The charts selected before stay selected while they are shown.
  const std::unordered_set<std::string> wanted(selected.begin(), selected.end());
  std::unordered_set<int32_t> entries;
  int32_t currentEntry = -1;
  for (size_t i = 0; i < index_->entries().size(); ++i) {
    const std::string& path = index_->entries()[i].path;
    if (wanted.count(path) != 0) entries.insert(static_cast<int32_t>(i));
    if (path == current) currentEntry = static_cast<int32_t>(i);
  }
  QItemSelection rows;
  const int lastColumn = model_->columnCount() - 1;
  for (const QModelIndex& row : model_->RowsOf(entries)) rows.select(row, row.siblingAtColumn(lastColumn));
  tvwCharts->selectionModel()->select(rows, QItemSelectionModel::Select);
  const std::vector<QModelIndex> currentRow = model_->RowsOf({currentEntry});
  if (!currentRow.empty())
    tvwCharts->selectionModel()->setCurrentIndex(currentRow.front(), QItemSelectionModel::NoUpdate);
  UpdateStatus();
  ShowDetails();
}

std::string LibraryWindow::CurrentPath() const {
  const int32_t entry = model_->EntryAt(tvwCharts->currentIndex());
  return entry >= 0 && index_ != nullptr ? index_->entries()[static_cast<size_t>(entry)].path : std::string();
}

void LibraryWindow::SortByColumn(int column) {
  if (column < 0 || column >= static_cast<int>(kLibraryColumns.size())) return;
  query_.descending = column == sortSection_ && !query_.descending;
  sortSection_ = column;
  query_.sortBy = kLibraryColumns[static_cast<size_t>(column)].sortKey;
  tvwCharts->header()->setSortIndicator(column, query_.descending ? Qt::DescendingOrder : Qt::AscendingOrder);
  ApplyQuery();
}

void LibraryWindow::UpdateStatus() {
  const auto total = index_ != nullptr ? index_->entries().size() : 0;
  lblCount->setText(tr("%1 of %2 charts").arg(model_->EntriesInOrder().size()).arg(total));
}

void LibraryWindow::ShowDetails() {
  const QModelIndex current = tvwCharts->currentIndex();
  const int32_t entry = model_->EntryAt(current);
  if (entry >= 0 && index_ != nullptr) {
    txtDetails->setPlainText(ToQString(LibraryDetailsText(index_->entries()[static_cast<size_t>(entry)])));
  } else if (current.isValid()) {
    txtDetails->setPlainText(model_->data(current.siblingAtColumn(0), Qt::DisplayRole).toString());
  } else {
    txtDetails->clear();
  }
}

std::vector<std::string> LibraryWindow::ShownPaths() const {
  std::vector<std::string> paths;
  if (index_ == nullptr) return paths;
  for (int32_t entry : model_->EntriesInOrder()) paths.push_back(index_->entries()[static_cast<size_t>(entry)].path);
  return paths;
}

std::vector<std::string> LibraryWindow::SelectedPaths() const {
  std::vector<std::string> paths;
  if (index_ == nullptr || model_->rowCount() == 0) return paths;
  std::unordered_set<int32_t> chosen;
  for (const QModelIndex& row : tvwCharts->selectionModel()->selectedRows()) chosen.insert(model_->EntryAt(row));
  // In the order shown, whatever order they were picked in.
  for (int32_t entry : model_->EntriesInOrder()) {
    if (chosen.count(entry) != 0) paths.push_back(index_->entries()[static_cast<size_t>(entry)].path);
  }
  return paths;
}

bool LibraryWindow::SelectPath(const std::string& path) {
  if (index_ == nullptr) return false;
  const auto& entries = index_->entries();
  for (size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].path != path) continue;
    const std::vector<QModelIndex> row = model_->RowsOf({static_cast<int32_t>(i)});
    if (row.empty()) return false;
    tvwCharts->selectionModel()->setCurrentIndex(row.front(), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    return true;
  }
  return false;
}

void LibraryWindow::PlaySelected() {
  const int32_t entry = model_->EntryAt(tvwCharts->currentIndex());
  if (entry < 0 || index_ == nullptr || !actions_.play) return;
  actions_.play(index_->entries()[static_cast<size_t>(entry)].path);
}

void LibraryWindow::AddSelected() {
  if (!actions_.add) return;
  for (const std::string& path : SelectedPaths()) actions_.add(path);
}

bool LibraryWindow::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress) return false;
  const int key = static_cast<QKeyEvent*>(event)->key();
  if (watched == txtSearch) return SearchKeyDown(key);
  if (watched != tvwCharts) return false;
  if (key == Qt::Key_Insert) {
    AddSelected();
    return true;
  }
  // Enter on a folder row opens or closes it as usual.
  if ((key == Qt::Key_Return || key == Qt::Key_Enter) && model_->EntryAt(tvwCharts->currentIndex()) >= 0) {
    PlaySelected();
    return true;
  }
  return false;
}

// Down leaves the search field for the rows; Enter there plays the chart
// picked (the first one shown when none is), so typing and Enter is enough.
bool LibraryWindow::SearchKeyDown(int key) {
  const bool enter = key == Qt::Key_Return || key == Qt::Key_Enter;
  if (key != Qt::Key_Down && !enter) return false;
  if (model_->EntryAt(tvwCharts->currentIndex()) < 0) {
    const std::vector<int32_t> shown = model_->EntriesInOrder();
    if (shown.empty()) return true;
    const std::vector<QModelIndex> first = model_->RowsOf({shown.front()});
    tvwCharts->selectionModel()->setCurrentIndex(first.front(),
                                                 QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  }
  if (enter) {
    PlaySelected();
  } else {
    tvwCharts->setFocus();
  }
  return true;
}

// --- Scanning.

void LibraryWindow::StartScan() {
  if (Scanning() || !OpenLibrary()) return;
  cancelScan_ = false;
  const int serial = ++scanSerial_;
  cmdScan->setEnabled(false);
  cmdStop->setEnabled(true);
  prgScan->setRange(0, 0);
  prgScan->setFormat(ToQString(kScanningFormat).arg(0).arg(0));
  prgScan->show();
  // Its own connection: a LibraryDb belongs to one thread.
  scanThread_ = std::thread([this, serial, path = libraryPath_] {
    std::string message;
    ScanReport report;
    try {
      if (auto db = LibraryDb::Open(path, &message)) {
        report = ScanLibrary(
            *db, ScanOptions{},
            [this, serial](const ScanProgress& progress) {
              QMetaObject::invokeMethod(
                  this, [this, serial, progress] { ScanProgressed(serial, progress); }, Qt::QueuedConnection);
            },
            &cancelScan_);
      } else {
        report.skipped.push_back(message);
      }
    } catch (const std::exception& error) {
      // Out of memory or the like: the scan ends, the player goes on.
      report.skipped.push_back(error.what());
    }
    QMetaObject::invokeMethod(
        this, [this, serial, report] { ScanEnded(serial, report); }, Qt::QueuedConnection);
  });
}

void LibraryWindow::StopScan() {
  if (!scanThread_.joinable()) return;
  cancelScan_ = true;
  scanThread_.join();
}

void LibraryWindow::ScanProgressed(int serial, const ScanProgress& progress) {
  if (serial != scanSerial_) return;
  prgScan->setRange(0, static_cast<int>(progress.foldersTotal));
  prgScan->setValue(static_cast<int>(progress.foldersDone));
  prgScan->setFormat(ToQString(kScanningFormat).arg(progress.foldersDone).arg(progress.foldersTotal));
}

void LibraryWindow::ScanEnded(int serial, const ScanReport& report) {
  // A scan stopped and joined already may report after a newer one started.
  if (serial == scanSerial_ && scanThread_.joinable()) scanThread_.join();
  for (const std::string& line : report.skipped) log_.PutLog(std::string(kScanSkippedPrefix) + line);
  log_.PutLog(ScanSummary(report));
  if (serial != scanSerial_) return;
  prgScan->hide();
  cmdScan->setEnabled(true);
  cmdStop->setEnabled(false);
  if (db_ != nullptr && (index_ != nullptr || isVisible())) {
    db_->ImportScoreLog(programFolder_);
    ReadEntries();
  }
  emit ScanFinished();
}

}  // namespace vremo
