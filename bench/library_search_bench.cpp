// The library search as the user types: LibraryIndex::Find over 20,000
// charts (4,000 song folders of 5 charts, a quarter with Japanese titles),
// for typical texts, with and without the key and level filters, sorted by
// path or by title. Target: under 50 ms a keystroke.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "library/library_search.h"

namespace vremo {
namespace {

constexpr int kSongs = 4000;
constexpr int kChartsPerSong = 5;
constexpr uint32_t kSeed = 16;
constexpr int kArtistNumbers = 500;

const std::vector<std::string> kWords = {"kaleidoscope", "karma", "neon",    "horizon",  "crystal", "midnight",
                                         "velocity",     "echo",  "aurora",  "spiral",   "garden",  "thunder",
                                         "kaze",         "nova",  "prism",   "requiem",  "sakura",  "phantom",
                                         "carnival",     "orbit", "tempest", "serenade", "mirage",  "zenith"};
const std::vector<std::string> kJapaneseWords = {"夜明け", "桜", "星空", "幻想",   "電脳", "恋",
                                                 "花火",   "蒼", "月",   "ひかり", "迷宮", "真夜中"};
const std::vector<std::string> kGenres = {"TRANCE", "HARDCORE", "J-POP", "TECHNO", "HOUSE", "ROCK", "ARTCORE"};
const std::vector<std::string> kDifficulties = {"[BEGINNER]", "[NORMAL]", "[HYPER]", "[ANOTHER]", "[INSANE]"};

std::vector<LibraryEntry> MakeEntries() {
  std::mt19937 random(kSeed);
  std::vector<LibraryEntry> entries;
  entries.reserve(kSongs * kChartsPerSong);
  for (int song = 1; song <= kSongs; ++song) {
    const bool japanese = song % 4 == 1;
    const std::vector<std::string>& words = japanese ? kJapaneseWords : kWords;
    std::string title;
    for (int i = 0, count = 1 + static_cast<int>(random() % 3); i < count; ++i) {
      title += (i > 0 && !japanese ? " " : "") + words[random() % words.size()];
    }
    char number[16];
    std::snprintf(number, sizeof number, "%05d ", song);
    const std::string folder = "/home/player/bms/" + std::string(number) + title;
    for (int chart = 0; chart < kChartsPerSong; ++chart) {
      LibraryEntry entry;
      entry.folder = folder;
      entry.path = folder + "/_" + std::to_string(chart) + ".bme";
      entry.title = title;
      entry.subtitle = kDifficulties[static_cast<size_t>(chart)];
      entry.artist = "artist " + std::to_string(song % kArtistNumbers);
      entry.genre = kGenres[random() % kGenres.size()];
      entry.keyCount = chart == 4 ? 14 : song % 5 == 0 && chart < 2 ? 5 : 7;
      entry.playLevel = 1 + chart * 3 + static_cast<int32_t>(random() % 3);
      entry.noteCount = 200 + static_cast<int32_t>(random() % 1500);
      entry.lengthMs = 90000 + static_cast<int32_t>(random() % 60000);
      entry.bpm = entry.bpmMin = entry.bpmMax = 90 + random() % 110;
      entries.push_back(std::move(entry));
    }
  }
  return entries;
}

const LibraryIndex& Index() {
  static const LibraryIndex index(MakeEntries());
  return index;
}

void Search(benchmark::State& state, LibraryQuery query) {
  const LibraryIndex& index = Index();
  size_t found = 0;
  for (auto _ : state) {
    const std::vector<int32_t> result = index.Find(query);
    found = result.size();
    benchmark::DoNotOptimize(result.data());
  }
  state.counters["found"] = static_cast<double>(found);
}

LibraryQuery Text(const std::string& text, LibraryColumn sortBy = LibraryColumn::kPath) {
  LibraryQuery query;
  query.text = text;
  query.sortBy = sortBy;
  return query;
}

LibraryQuery Filtered(const std::string& text) {
  LibraryQuery query = Text(text, LibraryColumn::kLevel);
  query.keyCount = 7;
  query.minLevel = 5;
  query.maxLevel = 9;
  return query;
}

// What opening the browser costs once the entries are read: folding the texts.
void BuildIndex(benchmark::State& state) {
  const std::vector<LibraryEntry> entries = MakeEntries();
  for (auto _ : state) {
    LibraryIndex index(entries);
    benchmark::DoNotOptimize(&index);
  }
}

BENCHMARK(BuildIndex)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Search, Everything, Text(""))->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Search, EverythingByTitle, Text("", LibraryColumn::kTitle))->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Search, A, Text("a"))->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Search, Ka, Text("ka"))->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Search, Artist12, Text("artist 12"))->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Search, Japanese, Text("星空"))->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Search, UpperCaseByTitle, Text("KA", LibraryColumn::kTitle))->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Search, Filtered, Filtered(""))->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Search, AFiltered, Filtered("a"))->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Search, NoMatch, Text("zzzz"))->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vremo

BENCHMARK_MAIN();
