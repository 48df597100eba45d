// The library window with the command side attached: folders from the
// option panel, a scan on its thread into a real library.db, searching,
// filters, sorting, grouping, playing and adding to the play list, results
// read from the score log, and a broken library file set aside.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>
#include <QTreeView>
#include <filesystem>

#include "library/library_db.h"
#include "library/library_scan.h"
#include "play/number_format.h"
#include "shell/library_folders_box.h"
#include "shell/library_model.h"
#include "shell/library_window.h"
#include "shell/play_list.h"
#include "shell/qt_text.h"
#include "tests/shell/window_test_support.h"

namespace vremo {
namespace {

using testing::Crlf;
using testing::WaitFor;

std::string Chart(const std::string& title, const std::string& artist, const std::string& genre, int level,
                  const std::vector<std::string>& objects) {
  std::vector<std::string> lines = {"#PLAYER 1",       "#TITLE " + title, "#ARTIST " + artist,
                                    "#GENRE " + genre, "#BPM 120",        "#PLAYLEVEL " + std::to_string(level)};
  lines.insert(lines.end(), objects.begin(), objects.end());
  return Crlf(lines);
}

class LibraryWindowTest : public testing::WindowTest {
 protected:
  LibraryWindowTest() : WindowTest(true), library(commands->libraryWindow()) {}

  template <typename T>
  T* Control(const char* name) {
    return testing::FindControl<T>(library, name);
  }
  // The Title column top to bottom (a folder row's charts in its place).
  std::vector<std::string> Titles() {
    const QAbstractItemModel* rows = Control<QTreeView>("tvwCharts")->model();
    std::vector<std::string> titles;
    for (int r = 0; r < rows->rowCount(); ++r) {
      const QModelIndex row = rows->index(r, 0);
      for (int c = 0; c < rows->rowCount(row); ++c)
        titles.push_back(rows->index(c, 0, row).data().toString().toStdString());
      if (rows->rowCount(row) == 0) titles.push_back(row.data().toString().toStdString());
    }
    return titles;
  }
  std::string DbPath() { return folder.Path(std::string(kLibraryFileName)); }
  // Scans from the window's button and waits for the summary in the log.
  void Scan(const std::string& summary) {
    const int before = LogCount(ToQString(summary));
    Control<QPushButton>("cmdLibraryScan")->click();
    EXPECT_TRUE(WaitFor([&] { return !library.Scanning() && LogCount(ToQString(summary)) == before + 1; }))
        << Log().toStdString();
  }
  void Search(const QString& text) {
    auto* search = Control<QLineEdit>("txtLibrarySearch");
    search->clear();
    QTest::keyClicks(search, text);
  }
  void ClickHeader(int column) {
    QHeaderView* header = Control<QTreeView>("tvwCharts")->header();
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                      QPoint(header->sectionViewportPosition(column) + 4, header->height() / 2));
  }

  LibraryWindow& library;
};

TEST_F(LibraryWindowTest, FoldersScanSearchSortGroupPlayAndAdd) {
  const std::string gamma = folder.Write("lib/Gamma Folder/gamma.bms", Chart("Gamma", "Cid", "Pop", 1, {"#00111:01"}));
  const std::string alpha = folder.Write("lib/SongA/alpha.bms", Chart("Alpha", "Ann", "Trance", 3, {"#00111:01"}));
  const std::string alpha7 =
      folder.Write("lib/SongA/alpha7.bme", Chart("Alpha Another", "Ann", "Trance", 9, {"#00118:01"}));
  const std::string beta =
      folder.Write("lib/SongB/beta.bms", Chart("Beta", "Bob", "Eurobeat", 6, {"#00103:B4", "#00119:0101"}));

  // A user who never touches the library gets no library file.
  auto* box = Find<LibraryFoldersBox>("grpLibrary");
  ASSERT_TRUE(box->isEnabled());
  EXPECT_EQ(Find<QListWidget>("lstLibraryFolders")->count(), 0);
  EXPECT_FALSE(std::filesystem::exists(DbPath()));

  box->AddFolder(ToQString(folder.Path("lib")));
  ASSERT_TRUE(std::filesystem::exists(DbPath()));
  ASSERT_EQ(Find<QListWidget>("lstLibraryFolders")->count(), 1);
  EXPECT_EQ(Find<QListWidget>("lstLibraryFolders")->item(0)->text().toStdString(), folder.Path("lib"));

  Find<QPushButton>("cmdLibrary")->click();
  ASSERT_TRUE(library.isVisible());
  Scan(std::string(kScanSummaryPrefix) + "4 added, 0 updated, 0 removed, 0 unchanged");
  EXPECT_EQ(Titles(), (std::vector<std::string>{"Gamma", "Alpha", "Alpha Another", "Beta"}));
  EXPECT_EQ(Control<QLabel>("lblLibraryCount")->text(), "4 of 4 charts");
  // The progress came folder by folder from the scan's thread.
  auto* progress = Control<QProgressBar>("prgLibraryScan");
  EXPECT_EQ(progress->format(), ToQString(kScanningFormat).arg(3).arg(3));
  EXPECT_EQ(progress->value(), 3);
  EXPECT_TRUE(progress->isHidden());

  // Every word typed must be found in the title, artist, genre or folder.
  Search("alpha");
  EXPECT_EQ(Titles(), (std::vector<std::string>{"Alpha", "Alpha Another"}));
  Search("folder");
  EXPECT_EQ(Titles(), (std::vector<std::string>{"Gamma"}));
  // Down in the search field picks the first chart shown.
  QTest::keyClick(Control<QLineEdit>("txtLibrarySearch"), Qt::Key_Down);
  EXPECT_EQ(library.SelectedPaths(), (std::vector<std::string>{gamma}));
  Search("EUROBEAT bob");
  EXPECT_EQ(Titles(), (std::vector<std::string>{"Beta"}));
  Search("");
  Control<QComboBox>("cmbLibraryKeys")->setCurrentText("7K");
  EXPECT_EQ(Titles(), (std::vector<std::string>{"Alpha Another", "Beta"}));
  Control<QSpinBox>("spnLevelFrom")->setValue(7);
  EXPECT_EQ(Titles(), (std::vector<std::string>{"Alpha Another"}));
  Control<QComboBox>("cmbLibraryKeys")->setCurrentText("Any");
  Control<QSpinBox>("spnLevelFrom")->setValue(0);
  Control<QSpinBox>("spnLevelTo")->setValue(5);
  EXPECT_EQ(Titles(), (std::vector<std::string>{"Gamma", "Alpha"}));
  Control<QSpinBox>("spnLevelTo")->setValue(0);

  // A header sorts by its column; again, the other way.
  ClickHeader(3);
  EXPECT_EQ(Titles(), (std::vector<std::string>{"Gamma", "Alpha", "Beta", "Alpha Another"}));
  ClickHeader(3);
  EXPECT_EQ(Titles(), (std::vector<std::string>{"Alpha Another", "Beta", "Alpha", "Gamma"}));
  auto* view = Control<QTreeView>("tvwCharts");
  EXPECT_EQ(view->model()->index(1, 5).data().toString(), "120-180");
  EXPECT_EQ(view->model()->index(1, 10).data().toString(), "SongB");

  // Grouped: each song folder once, its charts below it in the same order.
  Control<QCheckBox>("chkLibraryGroup")->setChecked(true);
  QAbstractItemModel* rows = view->model();
  ASSERT_EQ(rows->rowCount(), 3);
  EXPECT_EQ(rows->index(0, 0).data().toString(), "SongA");
  EXPECT_EQ(rows->index(1, 0).data().toString(), "SongB");
  EXPECT_EQ(rows->index(2, 0).data().toString(), "Gamma Folder");
  ASSERT_EQ(rows->rowCount(rows->index(0, 0)), 2);
  EXPECT_EQ(rows->index(1, 0, rows->index(0, 0)).data().toString(), "Alpha");
  EXPECT_EQ(Titles(), (std::vector<std::string>{"Alpha Another", "Alpha", "Beta", "Gamma"}));
  Control<QCheckBox>("chkLibraryGroup")->setChecked(false);

  // Enter plays the chart as the play list would; the result it leaves in
  // the score log shows when the play has ended.
  Find<QCheckBox>("chkUserPlay")->click();
  view->clearSelection();
  ASSERT_TRUE(library.SelectPath(beta));
  QTest::keyClick(view, Qt::Key_Return);
  EXPECT_EQ(window->playTag(), beta);
  ASSERT_TRUE(PlayEnds(1));
  // The figures are the ones the play judged, read back from the score log.
  const PlayerScore& score = window->engine().scores().players[0];
  EXPECT_GT(score.poor, 0);
  const std::string details = Control<QPlainTextEdit>("txtLibraryDetails")->toPlainText().toStdString();
  EXPECT_EQ(details, beta + "\nTitle: Beta\nArtist: Bob\nGenre: Eurobeat\nBPM: 120-180\nLevel: 6\nKeys: 7\n" +
                         "Notes: 2\nLength: " + ListLengthText(window->chart().lengthMs) +
                         "\nEncoding: UTF-8\nModern reading: no\nBest: J-Pts " + FormatNumber(score.jPts, 1, 1) +
                         ", Pts " + FormatNumber(score.pts, 1, 0) + ", Ex-Pts " + std::to_string(score.ExPts()) +
                         "\nfGreat 0 Great 0 Good 0 Bad 0 Poor " + std::to_string(score.poor) + "\nPlays: 1");
  EXPECT_EQ(view->model()->index(1, 9).data().toString(), "1");

  // Insert adds the selected charts in the order shown (after the play, so
  // that the list does not go on playing them).
  view->clearSelection();
  ASSERT_TRUE(library.SelectPath(gamma));
  ASSERT_TRUE(library.SelectPath(alpha7));
  QTest::keyClick(view, Qt::Key_Insert);
  ASSERT_EQ(commands->playList().entries().size(), 2u);
  EXPECT_EQ(commands->playList().entries()[0].path, alpha7);
  EXPECT_EQ(commands->playList().entries()[1].path, gamma);
  Control<QPushButton>("cmdLibraryAdd")->click();
  ASSERT_EQ(commands->playList().entries().size(), 4u);
  EXPECT_EQ(commands->playList().entries()[3].path, gamma);

  // A rescan reads the changed chart and keeps the search and the selection.
  Search("gam");
  ASSERT_TRUE(library.SelectPath(gamma));
  folder.Write("lib/Gamma Folder/gamma.bms", Chart("Gamma Two", "Cid", "Pop", 1, {"#00111:0101"}));
  Scan(std::string(kScanSummaryPrefix) + "0 added, 1 updated, 0 removed, 3 unchanged");
  EXPECT_EQ(Titles(), (std::vector<std::string>{"Gamma Two"}));
  EXPECT_EQ(library.SelectedPaths(), (std::vector<std::string>{gamma}));

  // Closing the window stops the scan and leaves no thread behind; the
  // next scan finishes the work.
  for (int i = 0; i < 200; ++i) {
    folder.Write("lib/Bulk/" + std::to_string(i) + "/c.bms", Chart("Bulk", "Dee", "Pop", 2, {"#00111:01"}));
  }
  Control<QPushButton>("cmdLibraryScan")->click();
  library.close();
  EXPECT_FALSE(library.Scanning());
  EXPECT_TRUE(WaitFor([&] { return Log().contains(ToQString(kScanStoppedSuffix)); })) << Log().toStdString();
  library.show();
  Search("bulk");
  Scan(std::string(kScanSummaryPrefix));
  EXPECT_EQ(Titles().size(), 200u);
  // Removing the folder takes its charts out.
  Find<QListWidget>("lstLibraryFolders")->setCurrentRow(0);
  Find<QPushButton>("cmdLibraryFolderRemove")->click();
  EXPECT_EQ(Find<QListWidget>("lstLibraryFolders")->count(), 0);
  EXPECT_TRUE(library.ShownPaths().empty());

  // What another Vremo adds and scans meanwhile shows when the window is
  // shown again, folder included.
  library.hide();
  {
    std::string message;
    auto other = LibraryDb::Open(DbPath(), &message);
    ASSERT_NE(other, nullptr) << message;
    ASSERT_TRUE(other->AddRoot(folder.Path("lib/SongB")));
    EXPECT_EQ(ScanLibrary(*other, {}, {}, nullptr).added, 1);
  }
  library.show();
  Search("");
  EXPECT_EQ(library.ShownPaths(), (std::vector<std::string>{beta}));
  ASSERT_EQ(Find<QListWidget>("lstLibraryFolders")->count(), 1);
  EXPECT_EQ(Find<QListWidget>("lstLibraryFolders")->item(0)->text().toStdString(), folder.Path("lib/SongB"));
}

TEST_F(LibraryWindowTest, BrokenLibraryFileIsSetAsideAndANewOneMade) {
  const std::string garbage(4096, 'x');
  folder.Write(std::string(kLibraryFileName), garbage);
  Find<QPushButton>("cmdLibrary")->click();
  EXPECT_EQ(folder.Read(std::string(kLibraryFileName) + std::string(kBadLibrarySuffix)), garbage);
  const QString badName = ToQString(std::string(kLibraryFileName) + std::string(kBadLibrarySuffix));
  EXPECT_TRUE(Log().contains(badName)) << Log().toStdString();
  auto* box = window->findChild<QMessageBox*>("messageBox");
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->windowTitle().toStdString(), kLibraryTitle);
  EXPECT_TRUE(box->text().contains(badName)) << box->text().toStdString();
  box->close();
  // The new library works: a folder added to it shows in the option panel.
  folder.Write("lib/Song/a.bms", Chart("A", "Ann", "Pop", 1, {"#00111:01"}));
  Find<LibraryFoldersBox>("grpLibrary")->AddFolder(ToQString(folder.Path("lib")));
  Scan(std::string(kScanSummaryPrefix) + "1 added, 0 updated, 0 removed, 0 unchanged");
  EXPECT_EQ(Titles(), (std::vector<std::string>{"A"}));

  // Where no library can be made at all (its folder is a file), the window
  // says so and does nothing.
  folder.Write("plain", "x");
  LibraryWindow nowhere({}, window->log(), folder.path().string(), folder.Path("plain/library.db"), nullptr);
  const int lines = Log().count('\n');
  nowhere.show();
  EXPECT_GT(Log().count('\n'), lines);
  EXPECT_FALSE(nowhere.AddRoot(folder.Path("lib")));
  EXPECT_TRUE(nowhere.Roots().empty());
  nowhere.StartScan();
  EXPECT_FALSE(nowhere.Scanning());
  EXPECT_TRUE(nowhere.ShownPaths().empty());
}

}  // namespace
}  // namespace vremo
