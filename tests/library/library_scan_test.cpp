#include "library/library_scan.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "library/chart_facts.h"
#include "tests/library/library_fixture.h"

namespace vremo {
namespace {

using testing::SongText;

// Every chart row as "path|title|notes", for whole-library comparisons.
std::vector<std::string> Rows(LibraryDb& db) {
  std::vector<std::string> rows;
  for (const LibraryEntry& e : db.Entries()) {
    rows.push_back(e.path + "|" + e.title + "|" + std::to_string(e.noteCount) + "|" + e.contentHash);
  }
  return rows;
}

std::string Counts(const ScanReport& r) {
  return std::to_string(r.added) + " added " + std::to_string(r.updated) + " updated " + std::to_string(r.removed) +
         " removed " + std::to_string(r.unchanged) + " unchanged";
}

class LibraryScan : public testing::LibraryFixture {};

TEST_F(LibraryScan, ScanChangeRescanVanish) {
  WriteSong("alpha", "a7.bme", SongText("Alpha", "Ann", 7, 8));
  WriteSong("alpha", "a5.bms", SongText("Alpha", "Ann", 5, 4));
  WriteSong("beta", "b.BMS", SongText("Beta", "Bob", 2, 4));
  WriteSong("beta", "notes.txt", "not a chart");
  WriteSong("gamma/deep", "g.bms", SongText("Gamma", "Gil", 1, 4));
  auto db = OpenDb();
  ASSERT_TRUE(db->AddRoot(Root()));
  std::vector<std::string> folders;
  const ScanReport first = ScanLibrary(
      *db, ScanOptions{2}, [&folders](const ScanProgress& p) { folders.push_back(p.folder); }, nullptr);
  EXPECT_EQ(Counts(first), "4 added 0 updated 0 removed 0 unchanged");
  EXPECT_TRUE(first.skipped.empty());
  EXPECT_EQ(folders, (std::vector<std::string>{Root() + "/alpha", Root() + "/beta", Root() + "/gamma/deep"}));
  const auto a7 = db->EntryByPath(Root() + "/alpha/a7.bme");
  ASSERT_TRUE(a7);
  EXPECT_EQ(a7->title + " " + std::to_string(a7->noteCount) + " " + a7->folder, "Alpha 8 " + Root() + "/alpha");
  EXPECT_EQ(db->Stats().folders, 3);

  // Nothing changed: nothing is read.
  EXPECT_EQ(Counts(ScanLibrary(*db, {}, nullptr, nullptr)), "0 added 0 updated 0 removed 4 unchanged");

  // One chart rewritten with another size, one touched only (mtime), one
  // removed, a whole folder gone, one new.
  WriteSong("alpha", "a5.bms", SongText("Alpha Again", "Ann", 5, 8));
  const std::string b = Root() + "/beta/b.BMS";
  const timespec times[2] = {{0, UTIME_OMIT}, {1234567890, 5}};
  ASSERT_EQ(::utimensat(AT_FDCWD, b.c_str(), times, 0), 0);
  std::filesystem::remove(Root() + "/alpha/a7.bme");
  std::filesystem::remove_all(Root() + "/gamma");
  WriteSong("delta", "d.bms", SongText("Delta", "Dee", 4, 4));
  const ScanReport rescan = ScanLibrary(*db, {}, nullptr, nullptr);
  EXPECT_EQ(Counts(rescan), "1 added 2 updated 2 removed 0 unchanged");
  EXPECT_EQ(Rows(*db).size(), 3u);
  EXPECT_EQ(db->EntryByPath(Root() + "/alpha/a5.bms")->title, "Alpha Again");
  EXPECT_EQ(db->EntryByPath(b)->modifiedNs, 1234567890000000005LL);
  EXPECT_FALSE(db->EntryByPath(Root() + "/gamma/deep/g.bms"));
  EXPECT_EQ(db->Stats().folders, 3);

  // The library folder unmounted: its rows stay, and the scan says so.
  std::filesystem::rename(Root(), folder.Path("away"));
  const ScanReport missing = ScanLibrary(*db, {}, nullptr, nullptr);
  EXPECT_EQ(Counts(missing), "0 added 0 updated 0 removed 0 unchanged");
  EXPECT_EQ(missing.skipped,
            (std::vector<std::string>{std::string(kSkipMissingRoot) + Root() + " (No such file or directory)"}));
  EXPECT_EQ(Rows(*db).size(), 3u);
}

}  // namespace
}  // namespace vremo
