// A linear scan over precomputed folded text: 20,000 charts are a few MB,
// well under a keystroke's budget; only the matches are sorted.
#include "library/library_search.h"

#include <algorithm>
#include <numeric>
#include <string_view>

namespace vremo {
namespace {

constexpr char32_t kFullwidthFirst = 0xFF01;  // "！"
constexpr char32_t kFullwidthLast = 0xFF5E;   // "～"
constexpr char32_t kFullwidthShift = 0xFF01 - 0x21;
constexpr char32_t kIdeographicSpace = 0x3000;
constexpr char kFieldSeparator = '\n';  // never inside a word of the query
// Up to this many matches are sorted; more are taken from a column order.
constexpr size_t kFewMatches = 2000;

// Lower case for ASCII, Latin-1, Greek and Cyrillic; fullwidth forms as
// their ASCII letters, so "ＡＢＣ" finds "abc".
char32_t Fold(char32_t c) {
  if (c >= kFullwidthFirst && c <= kFullwidthLast) c -= kFullwidthShift;
  if (c == kIdeographicSpace) return U' ';
  if ((c >= U'A' && c <= U'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7) || (c >= 0x391 && c <= 0x3A9 && c != 0x3A2) ||
      (c >= 0x410 && c <= 0x42F)) {
    return c + 32;
  }
  if (c >= 0x400 && c <= 0x40F) return c + 80;
  return c;
}

void AppendUtf8(char32_t c, std::string& out) {
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (c >> 12)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (c >> 18)));
    out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

// Folds UTF-8 text; bytes that are not UTF-8 are kept as they are.
void AppendFolded(std::string_view text, std::string& out) {
  out.reserve(out.size() + text.size());
  for (size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    if (lead < 0x80) {  // most of any library's text
      out.push_back(static_cast<char>(lead >= 'A' && lead <= 'Z' ? lead + 32 : lead));
      ++i;
      continue;
    }
    const size_t length = lead < 0x80           ? 1
                          : (lead >> 5) == 0x6  ? 2
                          : (lead >> 4) == 0xE  ? 3
                          : (lead >> 3) == 0x1E ? 4
                                                : 0;
    bool valid = length != 0 && i + length <= text.size();
    char32_t c = length == 1 ? lead : length == 2 ? lead & 0x1F : length == 3 ? lead & 0x0F : lead & 0x07;
    for (size_t k = 1; valid && k < length; ++k) {
      const auto next = static_cast<unsigned char>(text[i + k]);
      valid = (next & 0xC0) == 0x80;
      c = (c << 6) | (next & 0x3F);
    }
    if (!valid) {
      out.push_back(text[i++]);
      continue;
    }
    AppendUtf8(Fold(c), out);
    i += length;
  }
}

std::string_view FolderName(std::string_view folder) {
  const size_t slash = folder.find_last_of('/');
  return slash == std::string_view::npos ? folder : folder.substr(slash + 1);
}

std::vector<std::string> WordsOf(const std::string& text) {
  std::string folded;
  AppendFolded(text, folded);
  std::vector<std::string> words;
  size_t start = 0;
  while (start < folded.size()) {
    const size_t blank = folded.find_first_of(" \t", start);
    const size_t end = blank == std::string::npos ? folded.size() : blank;
    if (end > start) words.push_back(folded.substr(start, end - start));
    start = end + 1;
  }
  return words;
}

// Byte order with ASCII letters compared without case.
int CompareText(const std::string& a, const std::string& b) {
  const size_t n = std::min(a.size(), b.size());
  size_t same = 0;  // equal bytes are equal either way: skip them fast
  while (same < n && a[same] == b[same]) ++same;
  for (size_t i = same; i < n; ++i) {
    auto lower = [](char c) {
      return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c + 32) : static_cast<unsigned char>(c);
    };
    const unsigned char x = lower(a[i]);
    const unsigned char y = lower(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

template <typename T>
int CompareNumber(T a, T b) {
  return a < b ? -1 : (b < a ? 1 : 0);
}

int CompareBy(LibraryColumn column, const LibraryEntry& a, const LibraryEntry& b) {
  switch (column) {
    case LibraryColumn::kTitle:
      return CompareText(a.title, b.title);
    case LibraryColumn::kArtist:
      return CompareText(a.artist, b.artist);
    case LibraryColumn::kGenre:
      return CompareText(a.genre, b.genre);
    case LibraryColumn::kLevel:
      return CompareNumber(a.playLevel, b.playLevel);
    case LibraryColumn::kKeys:
      return CompareNumber(a.keyCount, b.keyCount);
    case LibraryColumn::kBpm:
      return CompareNumber(a.bpm, b.bpm);
    case LibraryColumn::kNotes:
      return CompareNumber(a.noteCount, b.noteCount);
    case LibraryColumn::kLength:
      return CompareNumber(a.lengthMs, b.lengthMs);
    case LibraryColumn::kBestJudgePoints:
      return CompareNumber(a.result.bestJudgePoints, b.result.bestJudgePoints);
    case LibraryColumn::kPlays:
      return CompareNumber(a.result.plays, b.result.plays);
    case LibraryColumn::kFolder:
      return CompareText(a.folder, b.folder);
    case LibraryColumn::kPath:
      break;
  }
  return 0;
}

// A query's order: the column, then the path.
struct Before {
  const std::vector<LibraryEntry>& entries;
  LibraryColumn column;
  bool descending;
  bool operator()(int32_t x, int32_t y) const {
    const LibraryEntry& a = entries[x];
    const LibraryEntry& b = entries[y];
    const int order = CompareBy(column, a, b);
    if (order != 0) return descending ? order > 0 : order < 0;
    return a.path < b.path;
  }
};

}  // namespace

std::string FoldForSearch(std::string_view text) {
  std::string folded;
  AppendFolded(text, folded);
  return folded;
}

LibraryIndex::LibraryIndex(std::vector<LibraryEntry> entries) : entries_(std::move(entries)) {
  folded_.reserve(entries_.size());
  for (const LibraryEntry& e : entries_) {
    std::string text;
    for (std::string_view field : {std::string_view(e.title), std::string_view(e.subtitle), std::string_view(e.artist),
                                   std::string_view(e.genre), FolderName(e.folder)}) {
      AppendFolded(field, text);
      text.push_back(kFieldSeparator);
    }
    folded_.push_back(std::move(text));
  }
}

const std::vector<int32_t>& LibraryIndex::OrderOf(LibraryColumn column, bool descending) const {
  std::vector<int32_t>& order = orders_[static_cast<size_t>(column) * 2 + (descending ? 1 : 0)];
  if (order.size() == entries_.size()) return order;
  order.resize(entries_.size());
  std::iota(order.begin(), order.end(), 0);
  std::sort(order.begin(), order.end(), Before{entries_, column, descending});
  return order;
}

std::vector<int32_t> LibraryIndex::Find(const LibraryQuery& query) const {
  const std::vector<std::string> words = WordsOf(query.text);
  std::vector<int32_t> found;
  for (size_t i = 0; i < entries_.size(); ++i) {
    const LibraryEntry& e = entries_[i];
    if (query.keyCount != 0 && e.keyCount != query.keyCount) continue;
    if (query.minLevel != 0 && e.playLevel < query.minLevel) continue;
    if (query.maxLevel != 0 && e.playLevel > query.maxLevel) continue;
    const std::string_view text = folded_[i];
    const bool all = std::all_of(words.begin(), words.end(),
                                 [text](const std::string& word) { return text.find(word) != std::string_view::npos; });
    if (all) found.push_back(static_cast<int32_t>(i));
  }
  if (found.size() <= kFewMatches) {
    std::sort(found.begin(), found.end(), Before{entries_, query.sortBy, query.descending});
    return found;
  }
  // Many matches: pick them out of the column's order.
  std::vector<bool> matched(entries_.size(), false);
  for (int32_t i : found) matched[i] = true;
  found.clear();
  for (int32_t i : OrderOf(query.sortBy, query.descending)) {
    if (matched[i]) found.push_back(i);
  }
  return found;
}

}  // namespace vremo
