#include "library/library_db.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <ctime>
#include <filesystem>
#include <fstream>

#include "chart/bms_reader.h"
#include "library/library_scan.h"
#include "play/score_log.h"
#include "tests/library/library_fixture.h"

namespace vremo {
namespace {

using testing::SongText;

std::string PragmaText(const std::string& path, const std::string& pragma) {
  sqlite3* db = nullptr;
  sqlite3_open(path.c_str(), &db);
  sqlite3_stmt* s = nullptr;
  sqlite3_prepare_v2(db, ("PRAGMA " + pragma).c_str(), -1, &s, nullptr);
  std::string value = "-";
  if (sqlite3_step(s) == SQLITE_ROW) value = reinterpret_cast<const char*>(sqlite3_column_text(s, 0));
  sqlite3_finalize(s);
  sqlite3_close(db);
  return value;
}
int64_t PragmaOf(const std::string& path, const std::string& pragma) { return std::stoll(PragmaText(path, pragma)); }

void RunSql(const std::string& path, const char* sql) {
  sqlite3* db = nullptr;
  sqlite3_open(path.c_str(), &db);
  EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sql;
  sqlite3_close(db);
}

class LibraryDbTest : public testing::LibraryFixture {};

TEST_F(LibraryDbTest, NewLibraryRootsAndRows) {
  EXPECT_EQ(DefaultLibraryPath("/home/p/vremo"), "/home/p/vremo/library.db");
  auto db = OpenDb();
  ASSERT_TRUE(db);
  EXPECT_EQ(PragmaOf(DbPath(), "user_version"), kLibrarySchemaVersion);
  EXPECT_EQ(PragmaText(DbPath(), "journal_mode"), "wal");
  EXPECT_TRUE(db->AddRoot("/music/bms"));
  EXPECT_TRUE(db->AddRoot("/music/more/"));
  EXPECT_FALSE(db->AddRoot("/music/bms"));
  EXPECT_FALSE(db->AddRoot("/music/more"));
  EXPECT_EQ(db->Roots(), (std::vector<std::string>{"/music/bms", "/music/more"}));

  LibraryEntry a, b, c;
  a.path = "/music/bms/s1/a.bms", a.folder = "/music/bms/s1", a.title = "A", a.lengthMs = 1000, a.needsModern = true;
  b.path = "/music/bms/s2/b.bms", b.folder = "/music/bms/s2", b.title = "B", b.lengthMs = 500;
  c.path = "/music/more/c.bms", c.folder = "/music/more", c.title = "C";
  ASSERT_TRUE(db->WriteCharts({c, b, a}, {}));
  std::vector<std::string> titles;
  for (const LibraryEntry& e : db->Entries()) titles.push_back(e.title);
  EXPECT_EQ(titles, (std::vector<std::string>{"A", "B", "C"}));
  const LibraryStats stats = db->Stats();
  EXPECT_EQ(stats.charts, 3);
  EXPECT_EQ(stats.folders, 3);
  EXPECT_EQ(stats.roots, 2);
  EXPECT_EQ(stats.needsModern, 1);
  EXPECT_EQ(stats.totalLengthMs, 1500);
  EXPECT_EQ(db->FilesUnder("/music/bms").size(), 2u);

  // A folder's charts go with it; a chart under another root stays.
  EXPECT_TRUE(db->RemoveRoot("/music/bms"));
  EXPECT_FALSE(db->RemoveRoot("/music/bms"));
  EXPECT_EQ(db->Entries().size(), 1u);
  EXPECT_FALSE(db->EntryByPath(a.path));
  EXPECT_EQ(db->EntryByPath(c.path)->title, "C");
}

TEST_F(LibraryDbTest, UnusableFilesAreKeptAsideAndANewLibraryMade) {
  const std::string path = DbPath();
  auto reopen = [&path](std::string& message) { return LibraryDb::Open(path, &message); };
  std::string message;

  // Random bytes.
  folder.Write("library.db", std::string(3000, 'x'));
  folder.Write("library.db-wal", "wal bytes");
  auto db = reopen(message);
  ASSERT_TRUE(db);
  EXPECT_EQ(message, "Library file not a database: kept as library.db.bad, a new library was made.");
  EXPECT_EQ(folder.Read("library.db.bad"), std::string(3000, 'x'));
  EXPECT_EQ(folder.Read("library.db.bad-wal"), "wal bytes");
  EXPECT_TRUE(db->AddRoot("/x"));
  db.reset();
  EXPECT_EQ(LibraryDb::Open(path, &message)->Roots(), std::vector<std::string>{"/x"});
  EXPECT_EQ(message, "");

  // From a newer Vremo: the earlier bad copy is not overwritten.
  RunSql(path, "PRAGMA user_version=99");
  ASSERT_TRUE(reopen(message));
  EXPECT_EQ(message, "Library file made by a newer Vremo: kept as library.db.bad.1, a new library was made.");
  EXPECT_EQ(folder.Read("library.db.bad"), std::string(3000, 'x'));
  EXPECT_EQ(PragmaOf(folder.Path("library.db.bad.1"), "user_version"), 99);

  // Some other program's database.
  std::filesystem::remove(path);
  RunSql(path, "CREATE TABLE songs(name TEXT)");
  ASSERT_TRUE(reopen(message));
  EXPECT_EQ(message, "Library file not a library: kept as library.db.bad.2, a new library was made.");

  // A library cut short.
  {
    auto full = reopen(message);
    for (int i = 0; i < 200; ++i) full->AddRoot("/folder/" + std::string(200, 'r') + std::to_string(i));
  }
  RunSql(path, "PRAGMA wal_checkpoint(TRUNCATE)");
  std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
  auto rebuilt = reopen(message);
  ASSERT_TRUE(rebuilt);
  EXPECT_EQ(message, "Library file damaged: kept as library.db.bad.3, a new library was made.");
  EXPECT_TRUE(rebuilt->Roots().empty());

  // Held by another program beyond the wait.
  rebuilt.reset();
  {
    sqlite3* holder = nullptr;
    sqlite3_open(path.c_str(), &holder);
    ASSERT_EQ(
        sqlite3_exec(holder, "PRAGMA locking_mode=EXCLUSIVE; BEGIN EXCLUSIVE; INSERT INTO roots(path) VALUES('/held')",
                     nullptr, nullptr, nullptr),
        SQLITE_OK);
    ASSERT_TRUE(LibraryDb::Open(path, &message, 100));
    EXPECT_EQ(message, "Library file locked: kept as library.db.bad.4, a new library was made.");
    sqlite3_close(holder);
  }

  // No library can be made at all.
  EXPECT_FALSE(LibraryDb::Open(folder.Path("no/such/folder/library.db"), &message));
  EXPECT_EQ(message, "Library file cannot be made: " + folder.Path("no/such/folder/library.db"));
}

TEST_F(LibraryDbTest, OlderSchemaIsBroughtUpToDate) {
  // An empty file at version 0 runs every migration.
  RunSql(DbPath(), "PRAGMA user_version=0");
  auto db = OpenDb();
  ASSERT_TRUE(db);
  EXPECT_EQ(PragmaOf(DbPath(), "user_version"), kLibrarySchemaVersion);
  EXPECT_TRUE(db->AddRoot("/a"));
}

// One play of the chart as the player logs it.
void LogPlay(const std::string& folder, const Chart& chart, float jPts, int32_t fGreat, int32_t poor) {
  ScoreBoard scores;
  scores.players[0].jPts = jPts;
  scores.players[0].fGreat = fGreat;
  scores.players[0].poor = poor;
  scores.players[0].pts = 1000.0 * fGreat;
  scores.players[1].jPts = 999.0f;  // player 2's figures are not the chart's result
  scores.players[1].fGreat = 99;
  ASSERT_TRUE(AppendScoreLog(folder, chart, scores, Settings{}));
}

TEST_F(LibraryDbTest, ScoreLogResultsAreReadOnceAndKeptByChart) {
  const std::string path = WriteSong("s", "song.bms", SongText("Song", "Sam", 4, 8));
  WriteSong("s", "other.bms", SongText("Other", "Sam", 4, 8));
  auto chart = std::make_unique<Chart>();
  DebugLog log;
  NullMediaLoader media;
  LoadContext context{log, media, LoadOptions{}, {}};
  ASSERT_EQ(LoadChart(path, *chart, context), kLoadOk);
  const std::string home = folder.Path("home");
  std::filesystem::create_directories(home);
  auto db = OpenDb();
  db->AddRoot(Root());
  ScanLibrary(*db, {}, nullptr, nullptr);
  EXPECT_EQ(db->ImportScoreLog(home), 0);  // no log yet

  LogPlay(home, *chart, 100.5f, 6, 2);
  LogPlay(home, *chart, 120.0f, 7, 1);
  EXPECT_EQ(db->ImportScoreLog(home), 2);
  EXPECT_EQ(db->ImportScoreLog(home), 0);  // nothing new
  // A worse play, a corrupt block, and a block still being written.
  LogPlay(home, *chart, 50.0f, 2, 6);
  const std::string spare = folder.Path("spare");
  std::filesystem::create_directories(spare);
  LogPlay(spare, *chart, 10.0f, 1, 7);
  const std::string block = folder.Read("spare/vremoscore.txt");
  const std::string logPath = home + "/vremoscore.txt";
  std::ofstream out(logPath, std::ios::app | std::ios::binary);
  out << "*BMS 12\r\n*INF broken\r\n1P - fGreat x\r\n----------------\r\n\r\n"
      << "*BMS 12\r\n*INF g\tt\ta\t1\t1\t1\t1\t1\r\n1P - fGreat 99999999999 Great 0 Good 0 Bad 0 Poor 0\r\n"
      << "  J-Pts: 1e999pts\r\n----------------\r\n\r\n"
      << block.substr(0, 40) << std::flush;
  EXPECT_EQ(db->ImportScoreLog(home), 1);
  const int64_t importedAt = std::time(nullptr);
  LibraryEntry e = *db->EntryByPath(path);
  EXPECT_EQ(e.result.plays, 3);
  EXPECT_DOUBLE_EQ(e.result.bestJudgePoints, 120.0);
  EXPECT_EQ(e.result.bestPoints, 7000);
  EXPECT_EQ(e.result.bestExPoints, 14);
  EXPECT_EQ(e.result.bestCounts.fGreat, 7);
  EXPECT_EQ(e.result.bestCounts.poor, 1);
  EXPECT_NEAR(static_cast<double>(e.result.lastPlayed), static_cast<double>(importedAt), 5.0);
  EXPECT_EQ(db->EntryByPath(Root() + "/s/other.bms")->result.plays, 0);
  EXPECT_EQ(db->Stats().played, 1);
  // The block counts once it is whole.
  out << block.substr(40) << std::flush;
  EXPECT_EQ(db->ImportScoreLog(home), 1);
  EXPECT_EQ(db->EntryByPath(path)->result.plays, 4);

  // A chart removed and found again gets its results back.
  std::filesystem::rename(path, folder.Path("song.bms"));
  ScanLibrary(*db, {}, nullptr, nullptr);
  EXPECT_FALSE(db->EntryByPath(path));
  std::filesystem::rename(folder.Path("song.bms"), path);
  ScanLibrary(*db, {}, nullptr, nullptr);
  EXPECT_EQ(db->EntryByPath(path)->result.plays, 4);

  // A log replaced by a new one is read from its start.
  std::filesystem::remove(logPath);
  LogPlay(home, *chart, 130.0f, 8, 0);
  EXPECT_EQ(db->ImportScoreLog(home), 1);
  e = *db->EntryByPath(path);
  EXPECT_EQ(e.result.plays, 5);
  EXPECT_DOUBLE_EQ(e.result.bestJudgePoints, 130.0);
}

}  // namespace
}  // namespace vremo
