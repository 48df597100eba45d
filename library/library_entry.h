#pragma once
// One chart of the library as the browser, the search and the command line
// see it: what the chart's own reading tells (header, counts, length, how it
// must be read) and the player's results for it from the score log. Plain
// data; any thread.

#include <cstdint>
#include <string>

namespace vremo {

// The judgement counts of one result, in the score log's order.
struct LibraryCounts {
  int32_t fGreat = 0;
  int32_t great = 0;
  int32_t good = 0;
  int32_t bad = 0;
  int32_t poor = 0;
};

// The player's results for one chart (player 1's figures of every score-log
// block that names the chart).
struct LibraryResult {
  int32_t plays = 0;           // 0: never played
  double bestJudgePoints = 0;  // best J-Pts
  int32_t bestPoints = 0;      // best Pts
  int32_t bestExPoints = 0;    // best Ex-Pts
  LibraryCounts bestCounts;    // the counts of the play with the best J-Pts
  int64_t lastPlayed = 0;      // Unix seconds when that block was first seen
};

inline constexpr int64_t kNanosecondsPerSecond = 1000000000;

struct LibraryEntry {
  int64_t id = 0;      // the row's key in library.db
  std::string path;    // absolute path of the chart file
  std::string folder;  // its song folder (the chart's parent folder)
  int64_t fileSize = 0;
  int64_t modifiedNs = 0;   // the file's mtime in nanoseconds
  std::string contentHash;  // 16 hex digits over the file's bytes
  // Text fields in UTF-8, whatever the chart's encoding.
  std::string title;
  std::string subtitle;
  std::string artist;
  std::string genre;
  double bpm = 0;  // #BPM
  double bpmMin = 0;
  double bpmMax = 0;
  int32_t playLevel = 0;
  int32_t player = 0;    // #PLAYER
  int32_t keyCount = 0;  // 5, 7, 10, 14 (9 for a pop'n chart)
  int32_t noteCount = 0;
  int32_t lengthMs = 0;
  int32_t rank = 0;
  int32_t total = 0;
  int32_t bmsId = 0;         // the identity the score log names the chart by
  std::string encoding;      // "UTF-8", "CP932" or "CP949"
  bool needsModern = false;  // long notes, stops, random blocks, base-36 ...
  LibraryResult result;
};

}  // namespace vremo
