#pragma once
// Chart files and library files for the library's tests: generated charts in
// a temporary folder and a real library.db beside them.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "library/library_db.h"
#include "tests/support/temp_folder.h"

namespace vremo::testing {

inline std::string CrlfLines(const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& line : lines) text += line + "\r\n";
  return text;
}

// A small classic chart: a header and `notes` side-1 notes, four a measure.
inline std::string SongText(const std::string& title, const std::string& artist = "Artist", int level = 3,
                            int notes = 4, const std::vector<std::string>& extra = {}) {
  std::vector<std::string> lines = {"#GENRE Genre", "#TITLE " + title, "#ARTIST " + artist,
                                    "#BPM 150",     "#PLAYER 1",       "#PLAYLEVEL " + std::to_string(level),
                                    "#RANK 2"};
  for (int measure = 1; notes > 0; ++measure, notes -= 4) {
    std::string data;
    for (int k = 0; k < 4; ++k) data += k < notes ? "01" : "00";
    char head[16];
    std::snprintf(head, sizeof head, "#%03d11:", measure);
    lines.push_back(head + data);
  }
  lines.insert(lines.end(), extra.begin(), extra.end());
  return CrlfLines(lines);
}

class LibraryFixture : public ::testing::Test {
 protected:
  std::string DbPath() const { return folder.Path("library.db"); }
  std::unique_ptr<LibraryDb> OpenDb() {
    std::string message;
    auto db = LibraryDb::Open(DbPath(), &message);
    EXPECT_TRUE(db) << message;
    EXPECT_EQ(message, "");
    return db;
  }
  // Writes song folder/name under the collection folder "songs".
  std::string WriteSong(const std::string& songFolder, const std::string& name, const std::string& bytes) {
    return folder.Write("songs/" + songFolder + "/" + name, bytes);
  }
  std::string Root() const { return folder.Path("songs"); }

  TempFolder folder;
};

}  // namespace vremo::testing
