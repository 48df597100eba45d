// Folding the score log into the results: only what the log gained since the
// last import is read; a log that shrank or was replaced is read from its
// start. Whole blocks only: a block still being written waits for next time.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <cmath>
#include <ctime>
#include <filesystem>

#include "chart/file_bytes.h"
#include "library/chart_facts.h"
#include "library/library_db.h"
#include "library/sql_statement.h"
#include "play/score_log.h"

namespace vremo {
namespace {

constexpr const char* kOffsetKey = "score_log_offset";
constexpr const char* kIdentityKey = "score_log_identity";
constexpr const char* kTailKey = "score_log_tail";
// The bytes before the offset that must still be there for the log to count
// as the same one.
constexpr int64_t kTailBytes = 64;
constexpr size_t kInfoFields = 8;  // genre title artist level rank bpm n1 n2

struct Block {
  std::optional<int64_t> bmsId;
  std::optional<std::vector<std::string>> info;
  int player = 0;  // whose figures the lines now give
  std::optional<LibraryCounts> counts;
  std::optional<double> judgePoints;
  int64_t points = 0;
  int64_t exPoints = 0;
  bool complete() const { return bmsId && info && counts && judgePoints; }
};

std::optional<int64_t> IntOf(std::string_view text) {
  int64_t value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<double> NumberOf(std::string_view text) {
  double value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

bool Starts(std::string_view line, std::string_view prefix) { return line.substr(0, prefix.size()) == prefix; }

// "  J-Pts: 123.4pts" and the like: the number between label and unit.
std::optional<std::string_view> Figure(std::string_view line, std::string_view label) {
  if (!Starts(line, label) || line.size() < label.size() + kPointsUnit.size()) return std::nullopt;
  if (line.substr(line.size() - kPointsUnit.size()) != kPointsUnit) return std::nullopt;
  return line.substr(label.size(), line.size() - label.size() - kPointsUnit.size());
}

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (true) {
    const size_t end = text.find(separator, start);
    parts.emplace_back(text.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start));
    if (end == std::string_view::npos) return parts;
    start = end + 1;
  }
}

std::optional<int32_t> Int32Of(std::string_view text) {
  int32_t value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// "fGreat 512 Great 40 Good 3 Bad 1 Poor 2".
std::optional<LibraryCounts> CountsOf(std::string_view text) {
  static constexpr std::string_view kNames[] = {"fGreat", "Great", "Good", "Bad", "Poor"};
  const std::vector<std::string> words = Split(text, ' ');
  if (words.size() != 2 * std::size(kNames)) return std::nullopt;
  int32_t values[std::size(kNames)] = {};
  for (size_t k = 0; k < std::size(kNames); ++k) {
    const auto value = Int32Of(words[2 * k + 1]);
    if (words[2 * k] != kNames[k] || !value) return std::nullopt;
    values[k] = *value;
  }
  return LibraryCounts{values[0], values[1], values[2], values[3], values[4]};
}

// One line of a block; lines that do not parse are left out.
void ReadLine(std::string_view line, Block& block) {
  if (Starts(line, kScoreIdPrefix)) {
    block = Block{};
    block.bmsId = IntOf(line.substr(kScoreIdPrefix.size()));
  } else if (Starts(line, kScoreInfoPrefix)) {
    auto fields = Split(line.substr(kScoreInfoPrefix.size()), '\t');
    if (fields.size() == kInfoFields) block.info = std::move(fields);
  } else if (line.size() > kScorePlayerCounts.size() && line[0] >= '1' && line[0] <= '2' &&
             line.substr(1, kScorePlayerCounts.size()) == kScorePlayerCounts) {
    block.player = line[0] - '0';
    if (block.player == 1) block.counts = CountsOf(line.substr(1 + kScorePlayerCounts.size()));
  } else if (block.player == 1) {
    if (auto text = Figure(line, kJudgePointsLabel)) {
      if (auto value = NumberOf(*text); value && std::isfinite(*value)) block.judgePoints = value;
    }
    if (auto text = Figure(line, kPointsLabel)) block.points = IntOf(*text).value_or(block.points);
    if (auto text = Figure(line, kExPointsLabel)) block.exPoints = IntOf(*text).value_or(block.exPoints);
  }
}

constexpr const char* kUpsertResult =
    "INSERT INTO results(bms_id, title, artist, plays, best_judge_points, best_points, best_ex_points, f_great, "
    "great, good, bad, poor, last_played) VALUES(?,?,?,1,?,?,?,?,?,?,?,?,?) "
    "ON CONFLICT(bms_id, title, artist) DO UPDATE SET plays = plays + 1, "
    "f_great = iif(excluded.best_judge_points > best_judge_points, excluded.f_great, f_great), "
    "great = iif(excluded.best_judge_points > best_judge_points, excluded.great, great), "
    "good = iif(excluded.best_judge_points > best_judge_points, excluded.good, good), "
    "bad = iif(excluded.best_judge_points > best_judge_points, excluded.bad, bad), "
    "poor = iif(excluded.best_judge_points > best_judge_points, excluded.poor, poor), "
    "best_judge_points = max(best_judge_points, excluded.best_judge_points), "
    "best_points = max(best_points, excluded.best_points), "
    "best_ex_points = max(best_ex_points, excluded.best_ex_points), last_played = excluded.last_played";

bool Store(SqlStatement& upsert, const Block& b, int64_t now) {
  const std::vector<std::string>& info = *b.info;
  int c = 1;
  upsert.Bind(c++, *b.bmsId);
  upsert.Bind(c++, info[1]);  // title
  upsert.Bind(c++, info[2]);  // artist
  upsert.Bind(c++, *b.judgePoints);
  upsert.Bind(c++, b.points);
  upsert.Bind(c++, b.exPoints);
  for (int32_t count : {b.counts->fGreat, b.counts->great, b.counts->good, b.counts->bad, b.counts->poor}) {
    upsert.Bind(c++, static_cast<int64_t>(count));
  }
  upsert.Bind(c++, now);
  return upsert.Run();
}

std::string Meta(sqlite3* db, const char* key) {
  SqlStatement s(db, "SELECT value FROM meta WHERE key = ?");
  s.Bind(1, std::string_view(key));
  return s.Step() == SQLITE_ROW ? s.Text(0) : std::string();
}

bool SetMeta(sqlite3* db, const char* key, const std::string& value) {
  SqlStatement s(db, "INSERT OR REPLACE INTO meta(key, value) VALUES(?, ?)");
  s.Bind(1, std::string_view(key));
  s.Bind(2, value);
  return s.Run();
}

// The bytes [from, to) of the open file; shorter when the file is.
std::string ReadRange(int fd, int64_t from, int64_t to) {
  std::string bytes(static_cast<size_t>(std::max<int64_t>(to - from, 0)), '\0');
  size_t got = 0;
  while (got < bytes.size()) {
    const ssize_t n = ::pread(fd, bytes.data() + got, bytes.size() - got, from + static_cast<int64_t>(got));
    if (n <= 0) break;
    got += static_cast<size_t>(n);
  }
  bytes.resize(got);
  return bytes;
}

}  // namespace

int32_t LibraryDb::ImportScoreLog(const std::string& programFolder) {
  const std::string path = (std::filesystem::path(programFolder) / std::string(kScoreLogFileName)).string();
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return 0;
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(fd);
    return 0;
  }
  const std::string identity = std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino);
  int64_t offset = IntOf(Meta(db_, kOffsetKey)).value_or(0);
  const int64_t tailStart = std::max<int64_t>(offset - kTailBytes, 0);
  const bool same = identity == Meta(db_, kIdentityKey) && offset <= info.st_size &&
                    ContentHash(ReadRange(fd, tailStart, offset)) == Meta(db_, kTailKey);
  if (!same) offset = 0;
  const std::string text = ReadRange(fd, offset, info.st_size);

  SqlTransaction transaction(db_);
  SqlStatement upsert(db_, kUpsertResult);
  if (!transaction.ok() || !upsert.ok()) {
    ::close(fd);
    return 0;
  }
  const int64_t now = static_cast<int64_t>(std::time(nullptr));
  int32_t blocks = 0;
  size_t consumed = 0;  // up to the end of the last whole block
  Block block;
  for (size_t start = 0; start < text.size();) {
    const size_t end = text.find('\n', start);
    if (end == std::string::npos) break;  // a line still being written
    std::string_view line(text.data() + start, end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    start = end + 1;
    if (line != kResultRule) {
      ReadLine(line, block);
      continue;
    }
    if (block.complete() && Store(upsert, block, now)) ++blocks;
    block = Block{};
    consumed = start;
  }
  const int64_t newOffset = offset + static_cast<int64_t>(consumed);
  const std::string tail = ReadRange(fd, std::max<int64_t>(newOffset - kTailBytes, 0), newOffset);
  ::close(fd);
  if (!SetMeta(db_, kOffsetKey, std::to_string(newOffset)) || !SetMeta(db_, kIdentityKey, identity) ||
      !SetMeta(db_, kTailKey, ContentHash(tail)) || !transaction.Commit()) {
    return 0;
  }
  return blocks;
}

}  // namespace vremo
