#include "library/library_search.h"

#include <gtest/gtest.h>

namespace vremo {
namespace {

LibraryEntry Entry(const std::string& path, const std::string& title, const std::string& artist, int keys, int level,
                   double judgePoints = 0) {
  LibraryEntry e;
  e.path = path;
  e.folder = path.substr(0, path.find_last_of('/'));
  e.title = title;
  e.artist = artist;
  e.genre = "Trance";
  e.keyCount = keys;
  e.playLevel = level;
  e.result.bestJudgePoints = judgePoints;
  return e;
}

std::vector<std::string> Paths(const LibraryIndex& index, const LibraryQuery& query) {
  std::vector<std::string> paths;
  for (int32_t i : index.Find(query)) paths.push_back(index.entries()[i].path);
  return paths;
}

TEST(LibrarySearch, WordsCaseFiltersAndSorting) {
  const LibraryIndex index({
      Entry("/m/Neon Pack/a.bms", "Starlight", "DJ Kaze", 7, 5, 900),
      Entry("/m/Neon Pack/b.bme", "STARLIGHT [Another]", "DJ Kaze", 7, 11, 100),
      Entry("/m/zone/c.bms", "Ｆｕｌｌｗｉｄｔｈ Ｓｏｎｇ", "Ёлка", 5, 3),
      Entry("/m/zone/d.bms", "Moonrise", "kaze", 14, 8, 900),
  });
  LibraryQuery q;
  EXPECT_EQ(Paths(index, q).size(), 4u);  // no text: everything, by path
  q.text = "starlight kaze";
  EXPECT_EQ(Paths(index, q), (std::vector<std::string>{"/m/Neon Pack/a.bms", "/m/Neon Pack/b.bme"}));
  q.text = "  KAZE   another ";
  EXPECT_EQ(Paths(index, q), std::vector<std::string>{"/m/Neon Pack/b.bme"});
  q.text = "fullwidth ёлка";  // fullwidth letters and Cyrillic fold too
  EXPECT_EQ(Paths(index, q), std::vector<std::string>{"/m/zone/c.bms"});
  EXPECT_EQ(FoldForSearch("ＡＢＣ１ Émile"), "abc1 émile");
  q.text = "neon";  // the song folder's name
  EXPECT_EQ(Paths(index, q).size(), 2u);
  q.text = "trance zone";  // the genre and the song folder
  EXPECT_EQ(Paths(index, q), (std::vector<std::string>{"/m/zone/c.bms", "/m/zone/d.bms"}));
  q.text = "m";  // the folders above the song folder are not searched
  EXPECT_EQ(Paths(index, q), std::vector<std::string>{"/m/zone/d.bms"});
  q.text = "nothing";
  EXPECT_TRUE(Paths(index, q).empty());

  // Filters.
  q.text = "";
  q.keyCount = 7;
  q.minLevel = 6;
  EXPECT_EQ(Paths(index, q), std::vector<std::string>{"/m/Neon Pack/b.bme"});
  q = LibraryQuery{};
  q.minLevel = 4;
  q.maxLevel = 8;
  EXPECT_EQ(Paths(index, q), (std::vector<std::string>{"/m/Neon Pack/a.bms", "/m/zone/d.bms"}));

  // Sorting, ties by path in either direction; titles without regard to case.
  q = LibraryQuery{};
  q.sortBy = LibraryColumn::kBestJudgePoints;
  q.descending = true;
  EXPECT_EQ(Paths(index, q),
            (std::vector<std::string>{"/m/Neon Pack/a.bms", "/m/zone/d.bms", "/m/Neon Pack/b.bme", "/m/zone/c.bms"}));
  q.sortBy = LibraryColumn::kTitle;
  q.descending = false;
  EXPECT_EQ(Paths(index, q),
            (std::vector<std::string>{"/m/zone/d.bms", "/m/Neon Pack/a.bms", "/m/Neon Pack/b.bme", "/m/zone/c.bms"}));
  q.sortBy = LibraryColumn::kLevel;
  q.descending = true;
  EXPECT_EQ(Paths(index, q),
            (std::vector<std::string>{"/m/Neon Pack/b.bme", "/m/zone/d.bms", "/m/Neon Pack/a.bms", "/m/zone/c.bms"}));
}

}  // namespace
}  // namespace vremo
