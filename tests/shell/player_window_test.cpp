// The player's windows with the command side attached: the play-list window,
// dropped files and records, switches, sizes, captions, partners and exit.
#include <gtest/gtest.h>

#include <unistd.h>
#include <QCheckBox>
#include <QComboBox>
#include <QListWidget>
#include <QLocalSocket>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSystemTrayIcon>
#include <QTest>
#include <filesystem>

#include "shell/file_dialog_filter.h"
#include "shell/key_config_dialog.h"
#include "shell/play_list_window.h"
#include "shell/record_file.h"
#include "tests/shell/window_test_support.h"

namespace vremo {
namespace {

using testing::Crlf;
using testing::WaitFor;

class PlayerWindowTest : public testing::WindowTest {
 protected:
  PlayerWindowTest() : WindowTest(true) {}

  // A chart of `measures` 4/4 measures at 120 BPM (two seconds each).
  std::string Song(const std::string& name, const std::string& artist, int measures) {
    char last[32];
    std::snprintf(last, sizeof last, "#%03d11:01", measures - 1);
    return folder.Write("songs/" + name,
                        Crlf({"#PLAYER 1", "#ARTIST " + artist, "#TITLE " + name, "#BPM 120", "#00111:01", last}));
  }
  std::vector<std::string> Titles() {
    std::vector<std::string> titles;
    for (const auto& entry : commands->playList().entries()) titles.push_back(entry.title);
    return titles;
  }
  QMessageBox* Message() { return window->findChild<QMessageBox*>("messageBox"); }
};

TEST_F(PlayerWindowTest, PlayListRowsCaptionAndKeys) {
  PlayList& list = commands->playList();
  PlayListWindow& listWindow = commands->playListWindow();
  QListWidget* rows = listWindow.list();
  const std::string a = Song("a.bms", "Ann", 3);
  list.ListAdd(a);
  list.ListAdd(Song("b.bms", "Bob", 31));
  list.ListAdd(Song("c.bms", "Cid", 2));
  ASSERT_EQ(rows->count(), 3);
  const int32_t lengthA = list.entries()[0].lengthMs;
  const int32_t lengthB = list.entries()[1].lengthMs;
  // The two songs differ by 28 measures of two seconds.
  EXPECT_EQ(lengthB - lengthA, 56000);
  EXPECT_EQ(rows->item(0)->text().toStdString(), "Ann - a.bms\t" + ListLengthText(lengthA));
  EXPECT_EQ(rows->item(1)->text().toStdString().substr(0, 13), "Bob - b.bms\t1");
  EXPECT_EQ(listWindow.windowTitle().toStdString().substr(0, 19), "PlayList [3songs/00");
  EXPECT_TRUE(listWindow.windowTitle().endsWith("] - New List"));

  // Alt+Down moves the selected entry, still selected; Alt+Up at the top: nothing.
  rows->setCurrentRow(0);
  QTest::keyClick(rows, Qt::Key_Down, Qt::AltModifier);
  EXPECT_EQ(Titles(), (std::vector<std::string>{"b.bms", "a.bms", "c.bms"}));
  EXPECT_EQ(rows->currentRow(), 1);
  EXPECT_EQ(rows->item(1)->text().left(3), "Ann");
  QTest::keyClick(rows, Qt::Key_Down, Qt::AltModifier);
  QTest::keyClick(rows, Qt::Key_Down, Qt::AltModifier);  // already last
  EXPECT_EQ(Titles(), (std::vector<std::string>{"b.bms", "c.bms", "a.bms"}));
  rows->setCurrentRow(0);
  QTest::keyClick(rows, Qt::Key_Up, Qt::AltModifier);
  EXPECT_EQ(Titles(), (std::vector<std::string>{"b.bms", "c.bms", "a.bms"}));

  // Enter plays the selected entry; Delete removes it.
  rows->setCurrentRow(2);
  QTest::keyClick(rows, Qt::Key_Return);
  EXPECT_EQ(window->playTag(), a);
  EXPECT_EQ(list.currentIndex(), 2);
  QTest::keyClick(rows, Qt::Key_Delete);
  EXPECT_EQ(Titles(), (std::vector<std::string>{"b.bms", "c.bms"}));
  EXPECT_EQ(listWindow.windowTitle().toStdString().substr(0, 19), "PlayList [2songs/00");

  // Without a selection the keys do nothing.
  rows->setCurrentRow(-1);
  rows->clearSelection();
  QTest::keyClick(rows, Qt::Key_Delete);
  EXPECT_EQ(list.Count(), 1);

  // The repeat switches reach the list: with "Rep 1" the same song again.
  listWindow.repeatSwitch(0)->setChecked(true);
  list.ListPlay(1);
  list.ListNext();
  EXPECT_EQ(list.currentIndex(), 1);
  listWindow.repeatSwitch(0)->setChecked(false);
  listWindow.repeatSwitch(1)->setChecked(true);
  list.ListNext();
  EXPECT_EQ(list.currentIndex(), 0);
  EXPECT_EQ(rows->currentRow(), 0);
}

TEST_F(PlayerWindowTest, RowsDragAndTransportWalksTheList) {
  PlayList& list = commands->playList();
  PlayListWindow& listWindow = commands->playListWindow();
  std::vector<std::string> paths;
  for (const char* name : {"a.bms", "b.bms", "c.bms", "d.bms"}) paths.push_back(Song(name, "X", 2));
  for (const std::string& path : paths) list.ListAdd(path);

  // FF and F4 step on, Rew and F1 back; nothing past either end.
  list.ListPlay(2);
  for (const char* button : {"cmdFF", "cmdRew"}) Find<QPushButton>(button)->setEnabled(true);
  Find<QPushButton>("cmdFF")->click();
  EXPECT_EQ(window->playTag(), paths[3]);
  Find<QPushButton>("cmdFF")->click();  // the last one, no repeat: nothing
  EXPECT_EQ(list.currentIndex(), 3);
  QTest::keyPress(window.get(), Qt::Key_F1);
  EXPECT_EQ(window->playTag(), paths[2]);
  Find<QPushButton>("cmdRew")->click();
  EXPECT_EQ(window->playTag(), paths[1]);
  QTest::keyPress(window.get(), Qt::Key_F4);
  EXPECT_EQ(window->playTag(), paths[2]);
  list.ListPlay(0);
  QTest::keyPress(window.get(), Qt::Key_F1);  // the first one: nothing
  EXPECT_EQ(list.currentIndex(), 0);

  listWindow.show();
  QListWidget* rows = listWindow.list();
  ASSERT_TRUE(WaitFor([&] { return rows->isVisible(); }));
  QWidget* viewport = rows->viewport();
  auto centre = [&](int row) { return rows->visualItemRect(rows->item(row)).center(); };
  EXPECT_EQ(listWindow.RowUnderMouse(centre(2).y()), 2);
  EXPECT_EQ(listWindow.RowUnderMouse(100000), 3);  // below the rows: the last one

  auto mouse = [&](QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons held) {
    QMouseEvent event(type, at, viewport->mapToGlobal(at), button, held, Qt::NoModifier);
    QApplication::sendEvent(viewport, &event);
  };
  mouse(QEvent::MouseButtonPress, centre(0), Qt::LeftButton, Qt::LeftButton);
  mouse(QEvent::MouseMove, centre(2), Qt::NoButton, Qt::LeftButton);
  mouse(QEvent::MouseButtonRelease, centre(2), Qt::LeftButton, Qt::NoButton);
  EXPECT_EQ(Titles(), (std::vector<std::string>{"b.bms", "c.bms", "a.bms", "d.bms"}));
  EXPECT_EQ(rows->currentRow(), 2);
  // Moving without the button held moves nothing.
  mouse(QEvent::MouseMove, centre(0), Qt::NoButton, Qt::NoButton);
  EXPECT_EQ(Titles(), (std::vector<std::string>{"b.bms", "c.bms", "a.bms", "d.bms"}));
  // Upwards, row 3 to row 1.
  mouse(QEvent::MouseButtonPress, centre(3), Qt::LeftButton, Qt::LeftButton);
  mouse(QEvent::MouseMove, centre(1), Qt::NoButton, Qt::LeftButton);
  mouse(QEvent::MouseButtonRelease, centre(1), Qt::LeftButton, Qt::NoButton);
  EXPECT_EQ(Titles(), (std::vector<std::string>{"b.bms", "d.bms", "c.bms", "a.bms"}));
}

TEST_F(PlayerWindowTest, DroppedFilesGoToTheListOrTheRecord) {
  PlayList& list = commands->playList();
  const std::string a = Song("a.bms", "Ann", 2);
  const std::string b = Song("b.bms", "Bob", 2);
  const std::string c = Song("c.bms", "Cid", 2);

  // One chart: a new list of one, played, the list window stays hidden.
  window->FilesDropped({b});
  EXPECT_EQ(Titles(), (std::vector<std::string>{"b.bms"}));
  EXPECT_EQ(window->playTag(), b);
  EXPECT_FALSE(commands->playListWindow().isVisible());

  // Several: the list window opens with all of them, the first plays.
  window->FilesDropped({c, a});
  EXPECT_EQ(Titles(), (std::vector<std::string>{"c.bms", "a.bms"}));
  EXPECT_EQ(window->playTag(), c);
  EXPECT_TRUE(commands->playListWindow().isVisible());

  // A list file replaces the list and plays its first entry.
  list.ListClear();
  for (const std::string& path : {a, b}) list.ListAdd(path);
  list.ListSave(folder.Path("two.vrl"));
  list.ListClear();
  window->FilesDropped({folder.Path("two.vrl")});
  EXPECT_EQ(Titles(), (std::vector<std::string>{"a.bms", "b.bms"}));
  EXPECT_EQ(window->playTag(), a);

  // A folder brings every chart under it.
  window->FilesDropped({folder.Path("songs")});
  EXPECT_EQ(Titles(), (std::vector<std::string>{"a.bms", "b.bms", "c.bms"}));

  // A record of another chart: the message, and the record stays empty.
  PlayRecord presses;
  presses.StartRecording();
  presses.Append({1, 200, 0, 11, 1, 0});
  presses.Append({1, 250, 0, 12, 2, 0});
  RecordChart other = RecordChartOf(window->chart());
  other.bmsId += 1;
  ASSERT_TRUE(SaveRecord(folder.Path("other.vpd"), presses, other));
  window->FilesDropped({folder.Path("other.vpd"), a});
  QMessageBox* box = Message();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->text(), "this record file cannot use for this BMS!");
  EXPECT_EQ(box->windowTitle(), "bms-id is not collect");
  EXPECT_EQ(box->icon(), QMessageBox::Critical);
  EXPECT_EQ(window->engine().record().length(), 0);
  EXPECT_EQ(Titles().size(), 3u);  // the chart after the record was not added
  box->close();
  ASSERT_TRUE(WaitFor([&] { return Message() == nullptr; }));

  // One of this chart: loaded, with its J-Pts lines.
  ASSERT_TRUE(SaveRecord(folder.Path("mine.VPD"), presses, RecordChartOf(window->chart())));
  window->FilesDropped({folder.Path("mine.VPD")});
  EXPECT_EQ(Message(), nullptr);
  EXPECT_EQ(window->engine().record().length(), 2);
  EXPECT_EQ(window->engine().record().Entry(1).position, 250);
  EXPECT_TRUE(Log().contains("----------------\nJ-Pts: "));
}

TEST_F(PlayerWindowTest, RecordSwitchLocksWhatWouldSpoilTheRecord) {
  auto* userPlay = Find<QCheckBox>("chkUserPlay");
  auto* playKeySound = Find<QCheckBox>("chkSet5");
  auto* playRec = Find<QCheckBox>("chkSet6");
  auto* showRec = Find<QCheckBox>("chkSet7");
  const std::initializer_list<QWidget*> locked{playRec, showRec, Find<QPushButton>("cmdRecSave"),
                                               Find<QPushButton>("cmdRecLoad"), userPlay};
  const std::initializer_list<QCheckBox*> spoiling{playRec, showRec, playKeySound};
  for (QCheckBox* box : spoiling) box->setChecked(true);
  auto* record = Find<QCheckBox>("chkUserRecord");
  record->click();
  EXPECT_TRUE(window->settings().userRec);
  EXPECT_TRUE(userPlay->isChecked());
  for (QCheckBox* box : spoiling) EXPECT_FALSE(box->isChecked()) << box->objectName().toStdString();
  for (QWidget* control : locked) EXPECT_FALSE(control->isEnabled()) << control->objectName().toStdString();
  record->click();
  EXPECT_FALSE(window->settings().userRec);
  for (QWidget* control : locked) EXPECT_TRUE(control->isEnabled()) << control->objectName().toStdString();
}

TEST_F(PlayerWindowTest, CaptionReachesTitleAndTrayIconAndAutoHideGivesThePlayTheWindow) {
  window->log().SetCaption("loading...");
  EXPECT_EQ(window->windowTitle(), "Vremo v0.26 release - loading...");
  auto* tray = window->findChild<QSystemTrayIcon*>();
  ASSERT_NE(tray, nullptr);
  EXPECT_EQ(tray->toolTip(), "loading...");

  // Then the played chart's genre, title and artist; the list re-reads the entry.
  auto write = [&](const std::string& title) {
    return folder.Write("song.bms",
                        Crlf({"#PLAYER 1", "#GENRE Drum", "#TITLE " + title, "#ARTIST Ann", "#BPM 240", "#00111:01"}));
  };
  commands->playList().ListAdd(write("Old"));
  write("New");
  // With auto-hide the log and the seek bar give way only while playing.
  auto* log = Find<QPlainTextEdit>("txtStatus");
  auto* seek = Find<QScrollBar>("hscSeek");
  Find<QCheckBox>("chkAutoHide")->setChecked(true);
  EXPECT_TRUE(log->isVisible());
  bool hiddenWhilePlaying = false;
  WhenPlaying([&] { hiddenWhilePlaying = !log->isVisible() && !seek->isVisible(); });
  commands->playList().ListPlay(0);
  ASSERT_TRUE(PlayEnds(1));
  EXPECT_TRUE(hiddenWhilePlaying);
  EXPECT_TRUE(log->isVisible());
  EXPECT_TRUE(seek->isVisible());
  EXPECT_EQ(window->windowTitle(), "Vremo v0.26 release - [Drum] New / Ann");
  EXPECT_EQ(tray->toolTip(), "[Drum] New / Ann");
  EXPECT_EQ(commands->playListWindow().list()->item(0)->text().left(9), "Ann - New");
}

TEST_F(PlayerWindowTest, EndOfSongTellsEveryPartnerAndTheListGoesOn) {
  const QString name = QStringLiteral("vremo-test-%1-partner").arg(::getpid());
  ASSERT_TRUE(commands->channel().Listen(name));
  QLocalSocket partner;
  partner.connectToServer(name);
  ASSERT_TRUE(partner.waitForConnected(5000));
  ASSERT_TRUE(WaitFor([&] { return commands->channel().PartnerCount() == 1; }));
  QByteArray heard;
  auto notices = [&] {
    heard += partner.readAll();
    QStringList lines = QString::fromUtf8(heard).split('\n', Qt::SkipEmptyParts);
    for (QString& line : lines) {
      if (line.startsWith("PLENGTH ")) line = "PLENGTH";
    }
    return lines;
  };

  Find<QCheckBox>("chkSet13")->setChecked(true);  // DontWait: each song ends at once
  PlayList& list = commands->playList();
  for (const char* title : {"a", "b"}) {
    list.ListAdd(folder.Write(std::string("songs/") + title + ".bms",
                              Crlf({"#TITLE " + std::string(title), "#BPM 240", "#00011:01"})));
  }
  auto ended = [&](qsizetype count) {
    return WaitFor([&] { return notices().size() == count && !window->engine().Playing(); });
  };

  // A partner that has said nothing yet hears of each song's end, and the
  // list plays on to its end.
  list.ListPlay(0);
  ASSERT_TRUE(ended(4)) << notices().join("|").toStdString();
  EXPECT_EQ(notices(), QStringList({"PLENGTH", "PNEXT", "PLENGTH", "PNEXT"}));
  EXPECT_EQ(list.currentIndex(), 1);
  EXPECT_EQ(window->chart().title, "b");

  // Once it has sent a command, the same.
  partner.write("LPAUS\n");
  partner.flush();
  ASSERT_TRUE(WaitFor([&] { return notices().size() == 5; }));
  list.ListPlay(0);
  ASSERT_TRUE(ended(9)) << notices().join("|").toStdString();
  EXPECT_EQ(notices(),
            QStringList({"PLENGTH", "PNEXT", "PLENGTH", "PNEXT", "POK", "PLENGTH", "PNEXT", "PLENGTH", "PNEXT"}));
  EXPECT_EQ(list.currentIndex(), 1);
  EXPECT_EQ(window->chart().title, "b");
}

TEST(FileDialogFilter, WindowsFiltersBecomeQtFilters) {
  EXPECT_EQ(DialogFilter(kChartFileFilter).toStdString(), "BMS/BME Files(*.bms;*.bme) (*.bms *.bme);;All Files (*)");
  EXPECT_EQ(DialogFilter(kListFileFilter).toStdString(), "リストファイル(*.vrl) (*.vrl);;すべてのファイル (*)");
  EXPECT_EQ(DialogFilter(kRecordFileFilter).toStdString(), "Vremo Play Data (*.vpd);;All Files (*)");
  EXPECT_EQ(DialogFilter("odd|"), "odd ()");
  EXPECT_EQ(DialogFilter(""), "");
}

TEST_F(PlayerWindowTest, KeysFromTheDialogAndSettingsAreSavedInOrderAndReadBack) {
  // The key button opens the dialog; its OK keeps the keys.
  auto modal = [] { return qobject_cast<KeyConfigDialog*>(QApplication::activeModalWidget()); };
  bool dialogSeen = false;
  testing::WhenReady(
      window.get(), [&] { return modal() != nullptr; },
      [&] {
        dialogSeen = true;
        modal()->SelectLane(12);
        QTest::keyClick(modal()->findChild<QWidget*>("picKeyDown"), Qt::Key_Q);
        modal()->findChild<QPushButton*>("cmdOK")->click();
      });
  Find<QPushButton>("cmdKeyConf")->click();
  EXPECT_TRUE(dialogSeen);
  EXPECT_EQ(window->keyMap()['Q'], 12);
  commands->playList().ListAdd(Song("a.bms", "Ann", 2));
  Find<QComboBox>("cmbSleep")->setCurrentText("2");
  window->close();
  const QString log = Log();
  const auto keys = log.indexOf("saving vrkeycnf.dat...");
  ASSERT_GE(keys, 0) << log.toStdString();
  EXPECT_GT(log.indexOf("saving default.vrl..."), keys) << log.toStdString();
  EXPECT_TRUE(log.endsWith("save complete."));
  // The list file holds the one entry: Count 0 at offset 20.
  const std::string listBytes = folder.Read("default.vrl");
  ASSERT_GE(listBytes.size(), 24u);
  EXPECT_EQ(listBytes.substr(20, 4), std::string(4, '\0'));

  // The next start reads the settings and the keys back.
  commands.reset();
  window = std::make_unique<MainWindow>(folder.path().string());
  window->StartUp();
  EXPECT_EQ(Find<QComboBox>("cmbSleep")->currentText(), "2");
  EXPECT_EQ(window->keyMap()['Q'], 12);
  EXPECT_EQ(window->keyMap()['Z'], 11);  // the others stay
  EXPECT_TRUE(Log().contains("load complete."));
}

TEST_F(PlayerWindowTest, FailedListSaveAtExitIsSaid) {
  // A folder where the list file should be cannot be written.
  std::filesystem::create_directories(folder.Path("default.vrl"));
  ::testing::internal::CaptureStderr();
  window->close();
  const std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find("vremo: error: an error occured in list saving process!\n"), std::string::npos) << err;
  EXPECT_TRUE(Log().endsWith("saving default.vrl...\nerror: an error occured in list saving process!"))
      << Log().toStdString();
}

}  // namespace
}  // namespace vremo
