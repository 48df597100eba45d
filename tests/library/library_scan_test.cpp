#include "library/library_scan.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
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

TEST_F(LibraryScan, SkipsWhatItCannotUseAndGoesOn) {
  WriteSong("a", "a.bms", SongText("A"));
  WriteSong("b/inner", "b.bms", SongText("B"));
  // A link back up (a loop), a link to nothing, a FIFO named as a chart, a
  // link to the FIFO, and a folder that cannot be listed.
  std::filesystem::create_directory_symlink(Root(), Root() + "/b/inner/up");
  std::filesystem::create_symlink(folder.Path("nowhere"), Root() + "/a/gone");
  ASSERT_EQ(::mkfifo((Root() + "/a/pipe.bms").c_str(), 0644), 0);
  std::filesystem::create_symlink(Root() + "/a/pipe.bms", Root() + "/a/link.bme");
  WriteSong("c", "c.bms", SongText("C"));
  const bool asRoot = ::geteuid() == 0;  // root lists any folder
  ASSERT_EQ(::chmod((Root() + "/c").c_str(), 0), 0);
  auto db = OpenDb();
  db->AddRoot(Root() + "/");
  const ScanReport report = ScanLibrary(*db, {}, nullptr, nullptr);
  ::chmod((Root() + "/c").c_str(), 0755);
  std::vector<std::string> expected = {
      std::string(kSkipBrokenLink) + Root() + "/a/gone", std::string(kSkipNotAFile) + Root() + "/a/link.bme",
      std::string(kSkipNotAFile) + Root() + "/a/pipe.bms", std::string(kSkipFolderLoop) + Root() + "/b/inner/up"};
  if (!asRoot) expected.push_back(std::string(kSkipUnreadableFolder) + Root() + "/c (Permission denied)");
  EXPECT_EQ(report.skipped, expected);
  EXPECT_EQ(report.added, asRoot ? 3 : 2);

  // A folder that cannot be listed keeps its rows; root too can be kept from
  // one: a folder replaced by a link to nothing, which is reported.
  ScanLibrary(*db, {}, nullptr, nullptr);
  ASSERT_EQ(db->Entries().size(), 3u);
  std::filesystem::rename(Root() + "/c", folder.Path("c-moved"));
  std::filesystem::create_directory_symlink(folder.Path("nothing"), Root() + "/c");
  const ScanReport again = ScanLibrary(*db, {}, nullptr, nullptr);
  EXPECT_EQ(again.skipped.size(), 5u);
  EXPECT_EQ(again.skipped[0], std::string(kSkipBrokenLink) + Root() + "/c");  // met when the root is listed
  EXPECT_EQ(again.removed, 1);  // the folder is gone, and with it its chart
}

TEST_F(LibraryScan, ChartsVanishingWhileScannedAreSkipped) {
  WriteSong("a", "a.bms", SongText("A"));
  const std::string b = WriteSong("b", "b.bms", SongText("B"));
  auto db = OpenDb();
  db->AddRoot(Root());
  ScanLibrary(*db, {}, nullptr, nullptr);
  WriteSong("b", "b.bms", SongText("B changed"));
  const std::string c = WriteSong("c", "c.bms", SongText("C"));
  // With no reading ahead, a chart is read only when its folder is written:
  // after the first folder both are gone.
  ScanOptions options;
  options.threads = 1;
  options.readAhead = 0;
  const ScanReport report = ScanLibrary(
      *db, options,
      [&](const ScanProgress& p) {
        if (p.foldersDone == 1) std::filesystem::remove(b), std::filesystem::remove(c);
      },
      nullptr);
  EXPECT_EQ(report.skipped, (std::vector<std::string>{
                                std::string(kSkipUnreadableChart) + b + " (" + std::string(kFactsMissing) + ")",
                                std::string(kSkipUnreadableChart) + c + " (" + std::string(kFactsMissing) + ")"}));
  EXPECT_EQ(Counts(report), "0 added 0 updated 1 removed 1 unchanged");
  EXPECT_EQ(Rows(*db).size(), 1u);
}

// 40 song folders of 3 charts.
void WriteCollection(const testing::TempFolder& folder, const std::string& under) {
  for (int f = 0; f < 40; ++f) {
    for (int c = 0; c < 3; ++c) {
      const std::string name = "song" + std::to_string(100 + f);
      folder.Write(under + "/" + name + "/" + std::to_string(c) + ".bms",
                   SongText(name + " chart " + std::to_string(c), "Artist", c + 1, 4 * (c + 1)));
    }
  }
}

// Every song folder with rows has all its charts: three, or `big` in "huge".
void ExpectWholeFolders(LibraryDb& db, int big = 0) {
  std::map<std::string, int> perFolder;
  for (const LibraryEntry& e : db.Entries()) ++perFolder[e.folder];
  for (const auto& [folder, count] : perFolder) {
    EXPECT_EQ(count, folder.ends_with("/huge") ? big : 3) << folder;
  }
}

TEST_F(LibraryScan, StoppedOrKilledScanLeavesWholeFoldersAndTheNextFinishes) {
  WriteCollection(folder, "songs");
  std::vector<std::string> clean;
  {
    std::string message;
    auto reference = LibraryDb::Open(folder.Path("reference.db"), &message);
    reference->AddRoot(Root());
    ScanLibrary(*reference, {}, nullptr, nullptr);
    clean = Rows(*reference);
    ASSERT_EQ(clean.size(), 120u);
  }

  // Stopped by the flag after the second folder.
  auto db = OpenDb();
  db->AddRoot(Root());
  std::atomic<bool> cancel = false;
  const ScanReport stopped = ScanLibrary(
      *db, ScanOptions{2}, [&cancel](const ScanProgress& p) { cancel = p.foldersDone == 2; }, &cancel);
  EXPECT_TRUE(stopped.cancelled);
  EXPECT_EQ(stopped.added, 6);
  EXPECT_EQ(db->Entries().size(), 6u);
  db.reset();

  // Killed while it writes: the child tells each folder written down a pipe.
  int pipeFds[2];
  ASSERT_EQ(::pipe(pipeFds), 0);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::close(pipeFds[0]);
    std::string message;
    auto mine = LibraryDb::Open(DbPath(), &message);
    // Slowed after ten folders, so that the kill finds it part way.
    ScanLibrary(
        *mine, ScanOptions{2},
        [fd = pipeFds[1]](const ScanProgress& p) {
          (void)!::write(fd, "x", 1);
          if (p.foldersDone >= 10) ::usleep(20000);
        },
        nullptr);
    ::_exit(0);
  }
  ::close(pipeFds[1]);
  char byte = 0;
  for (int written = 0; written < 10; ++written) ASSERT_EQ(::read(pipeFds[0], &byte, 1), 1);
  ::kill(child, SIGKILL);
  int status = 0;
  ::waitpid(child, &status, 0);
  ::close(pipeFds[0]);
  ASSERT_TRUE(WIFSIGNALED(status));

  db = OpenDb();
  const size_t left = db->Entries().size();
  EXPECT_GE(left, 30u);
  EXPECT_LT(left, 120u);
  ExpectWholeFolders(*db);
  const ScanReport finished = ScanLibrary(*db, {}, nullptr, nullptr);
  EXPECT_EQ(finished.added, static_cast<int64_t>(120 - left));
  EXPECT_EQ(Rows(*db), clean);
}

TEST_F(LibraryScan, ReaderSeesWholeFoldersWhileAScanWrites) {
  WriteCollection(folder, "songs");
  // A folder larger than the readers may run ahead: written in chunks, seen whole.
  constexpr int kBig = 700;
  for (int c = 0; c < kBig; ++c) WriteSong("huge", std::to_string(c) + ".bms", SongText("Huge " + std::to_string(c)));
  auto db = OpenDb();
  db->AddRoot(Root());
  std::atomic<bool> done = false;
  std::thread scanner([&db, &done] {
    ScanLibrary(*db, ScanOptions{2}, nullptr, nullptr);
    done = true;
  });
  // A second connection, as the browser or a tool has, reads all along.
  std::string message;
  auto reader = LibraryDb::Open(DbPath(), &message);
  ASSERT_TRUE(reader) << message;
  int reads = 0;
  while (!done) {
    ExpectWholeFolders(*reader, kBig);
    ++reads;
  }
  scanner.join();
  EXPECT_GT(reads, 0);
  EXPECT_EQ(reader->Entries().size(), 120u + kBig);
}

}  // namespace
}  // namespace vremo
