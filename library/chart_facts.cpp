// One chart's facts for the library: the text looked over once for what only
// the modern reading understands, then the real reader run on it.
#include "library/chart_facts.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>

#include "chart/bms_reader.h"
#include "chart/chart.h"
#include "chart/chart_text.h"
#include "chart/file_bytes.h"
#include "chart/modern_lines.h"
#include "chart/modern_reader.h"
#include "chart/numbers.h"
#include "chart/text_detect.h"

namespace vremo {
namespace {

// Random blocks draw the same way every time, so a rescan gives the same facts.
constexpr uint32_t kFactsSeed = 1;
constexpr uint64_t kFnvOffset = 14695981039346656037ULL;
constexpr uint64_t kFnvPrime = 1099511628211ULL;
constexpr int32_t kDoublePlay = 3;
constexpr int32_t kFiveKeys = 5;
constexpr int32_t kSevenKeys = 7;
constexpr int32_t kPopnKeys = 9;
constexpr size_t kChannelDataColumn = 6;  // after "mmmcc:"
// Channels as decimal numbers: the tempo table and the long-note lanes.
constexpr int32_t kChannelTempoTable = 8;
constexpr int32_t kFirstLongChannel = 51;
constexpr int32_t kLastLongChannel = 69;
constexpr size_t kSlotWordLength = 5;  // WAVxx, BMPxx
constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsAlnum(char c) { return IsDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsHex(char c) { return IsDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

std::string UpperWord(std::string_view line) {
  std::string word;
  for (char c : line) {
    if (!IsAlnum(c)) break;
    word.push_back(c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c);
  }
  return word;
}

bool AllHex(std::string_view text) { return std::all_of(text.begin(), text.end(), IsHex); }

// Words only the modern reading acts on: control flow and long notes.
bool IsModernWord(std::string_view word) {
  static constexpr std::string_view kWords[] = {"RANDOM", "SETRANDOM", "IF",   "ELSEIF", "ELSE", "ENDIF", "ENDRANDOM",
                                                "SWITCH", "SETSWITCH", "CASE", "SKIP",   "DEF",  "ENDSW", "LNOBJ"};
  if (std::find(std::begin(kWords), std::end(kWords), word) != std::end(kWords)) return true;
  // Tempo and stop tables: #BPMxx, #EXBPMxx, #STOPxx.
  return (word.size() > 3 && word.substr(0, 3) == "BPM") || word.substr(0, 5) == "EXBPM" || word.substr(0, 4) == "STOP";
}

// The chart's text in the file's encoding, as UTF-8.
std::string TextOf(std::string_view bytes, ChartEncoding encoding) {
  if (encoding == ChartEncoding::kUtf8) return std::string(bytes);
  return ToUtf8(DecodeWithIconv(bytes, ChartEncodingName(encoding), nullptr));
}

struct TextFacts {
  bool needsModern = false;
  std::string subtitle;
  ChartEncoding encoding = ChartEncoding::kUtf8;
};

bool ModernHeader(std::string_view line, TextFacts& facts) {
  const std::string word = UpperWord(line);
  const std::string_view argument = Trimmed(line.substr(word.size()));
  if (word == "SUBTITLE") {
    if (facts.subtitle.empty()) facts.subtitle = TextOf(argument, facts.encoding);
    return false;
  }
  if (word == "BPM") {
    // A fractional tempo is timed exactly only by the modern reading.
    const auto bpm = ParseNumber(FromUtf8(TextOf(argument, facts.encoding)));
    return bpm && std::isfinite(*bpm) && *bpm != std::floor(*bpm);
  }
  const bool media = word.size() == kSlotWordLength && (word.substr(0, 3) == "WAV" || word.substr(0, 3) == "BMP");
  if (media) return !AllHex(std::string_view(word).substr(3));
  return IsModernWord(word);
}

// Channels 08, 09, 51-69, letters in the channel, or base-36 pairs.
bool ModernChannel(std::string_view line) {
  if (!IsDigit(line[3]) || !IsDigit(line[4])) return true;
  const int32_t channel = (line[3] - '0') * 10 + (line[4] - '0');
  if (channel == kChannelTempoTable || channel == kChannelStop) return true;
  if (channel >= kFirstLongChannel && channel <= kLastLongChannel) return true;
  const bool slots = channel == kChannelBackgroundSound || channel == kChannelBgaBase || channel == kChannelBgaPoor ||
                     channel == kChannelBgaLayer || (channel >= kFirstLaneChannel && channel <= kLastLaneChannel);
  return slots && !AllHex(Trimmed(line.substr(kChannelDataColumn)));
}

bool IsChannelLine(std::string_view line) {
  return line.size() >= kChannelDataColumn && IsDigit(line[0]) && IsDigit(line[1]) && IsDigit(line[2]) &&
         IsAlnum(line[3]) && IsAlnum(line[4]);
}

// Line ends the classic reading cannot split: LF alone anywhere.
bool HasBareLineFeed(std::string_view bytes) {
  for (size_t i = bytes.find('\n'); i != std::string_view::npos; i = bytes.find('\n', i + 1)) {
    if (i == 0 || bytes[i - 1] != '\r') return true;
  }
  return false;
}

// Looks over the bytes themselves: line ends and "#" are single bytes in
// every encoding a chart uses, and the commands are ASCII.
TextFacts LookOver(std::string_view bytes) {
  TextFacts facts;
  bytes = bytes.substr(0, bytes.find('\0'));
  if (bytes.substr(0, kUtf8Bom.size()) == kUtf8Bom) bytes.remove_prefix(kUtf8Bom.size());
  const bool ascii = std::all_of(bytes.begin(), bytes.end(), [](char c) { return (c & 0x80) == 0; });
  if (!ascii) facts.encoding = DecodeModernChartBytes(bytes).encoding;
  facts.needsModern = facts.encoding == ChartEncoding::kCp949 || HasBareLineFeed(bytes);
  size_t start = 0;
  while (start < bytes.size()) {
    size_t end = start;
    while (end < bytes.size() && bytes[end] != '\r' && bytes[end] != '\n') ++end;
    const std::string_view raw = bytes.substr(start, end - start);
    const std::string_view line = Trimmed(raw);
    start = end + 1;
    if (line.empty() || line.front() != '#') continue;
    // A "#" line after blanks is hidden from the classic reading.
    bool modern = raw.front() != '#';
    const std::string_view body = line.substr(1);
    modern = modern || (IsChannelLine(body) ? ModernChannel(body) : ModernHeader(body, facts));
    facts.needsModern = facts.needsModern || modern;
  }
  return facts;
}

// 5 or 7 keys and a scratch per side, doubled when side 2 is played; a
// single-player chart on 11-15 and 22-25 alone is a pop'n 9-key chart.
int32_t KeyCountOf(const Chart& chart) {
  bool used[2][kLanesPerGroup] = {};
  for (int32_t k = 0; k < chart.objectCount; ++k) {
    const int32_t channel = chart.objects[k].channel;
    if (channel < kFirstLaneChannel || channel > kLastLaneChannel) continue;
    const int side = channel >= kFirstSide2Channel ? 1 : 0;
    used[side][channel - (side == 0 ? kFirstLaneChannel : kFirstSide2Channel)] = true;
  }
  // Lane index 5 is the scratch, 7 and 8 the sixth and seventh keys.
  const bool seven = used[0][7] || used[0][8] || used[1][7] || used[1][8];
  const bool side2 = std::any_of(std::begin(used[1]), std::end(used[1]), [](bool u) { return u; });
  const bool popnSide1 = !used[0][5] && !used[0][6] && !seven;
  const bool popnSide2 = side2 && !used[1][0] && !used[1][5] && !used[1][6];
  if (chart.player != kDoublePlay && popnSide1 && popnSide2) return kPopnKeys;
  const int32_t perSide = seven ? kSevenKeys : kFiveKeys;
  return side2 || chart.player == kDoublePlay ? 2 * perSide : perSide;
}

void TempoRange(const Chart& chart, LibraryEntry& e) {
  e.bpmMin = e.bpmMax = chart.bpm;
  auto take = [&e](double bpm) {
    if (!(bpm > 0.0)) return;
    e.bpmMin = std::min(e.bpmMin, bpm);
    e.bpmMax = std::max(e.bpmMax, bpm);
  };
  if (chart.modern) {
    for (const TimingPoint& point : chart.timing.points()) take(point.bpm);
    return;
  }
  for (int32_t k = 0; k < chart.objectCount; ++k) {
    if (chart.objects[k].channel == kChannelTempo) take(chart.objects[k].value);
  }
}

// Every load starts as the first of the program: no header or total kept
// from the chart read before.
void ForgetPreviousChart(Chart& chart) {
  static_cast<ChartHeader&>(chart) = ChartHeader{};
  chart.lengthMs = 0;
  chart.playLengthMs = 0;
  chart.bmsId = 0;
  chart.gaugePerNote = {0.0f, 0.0f};
  chart.pointsPerNote = {0.0, 0.0};
}

std::string ReadError(const FileRead& read, int error) {
  switch (read.status) {
    case FileReadStatus::kMissing:
      return std::string(kFactsMissing);
    case FileReadStatus::kNotRegular:
      return std::string(kFactsNotAFile);
    case FileReadStatus::kTooLarge:
      return std::string(kFactsTooLarge);
    default:
      return error != 0 ? std::strerror(error) : std::string(kFactsUnreadable);
  }
}

// What the file itself tells.
LibraryEntry FileFacts(const std::string& path, const struct stat& info, std::string_view bytes,
                       const TextFacts& text) {
  LibraryEntry e;
  e.path = path;
  const size_t slash = path.find_last_of('/');
  e.folder = slash == std::string::npos ? std::string() : path.substr(0, slash);
  e.fileSize = static_cast<int64_t>(info.st_size);
  e.modifiedNs = static_cast<int64_t>(info.st_mtim.tv_sec) * kNanosecondsPerSecond + info.st_mtim.tv_nsec;
  e.contentHash = ContentHash(bytes);
  e.subtitle = text.subtitle;
  e.encoding = ChartEncodingName(text.encoding);
  e.needsModern = text.needsModern;
  return e;
}

// What the reader made of it; a chart with no object has no counts.
void ChartFacts(const Chart& chart, bool compiled, LibraryEntry& e) {
  e.title = chart.title;
  e.artist = chart.artist;
  e.genre = chart.genre;
  e.bpm = chart.bpm;
  e.playLevel = chart.playLevel;
  e.player = chart.player;
  e.rank = chart.rank;
  e.total = chart.total;
  e.bpmMin = e.bpmMax = chart.bpm;
  if (!compiled) return;
  TempoRange(chart, e);
  e.keyCount = KeyCountOf(chart);
  // In double play the compiler has already added side 2 to side 1.
  e.noteCount = chart.totalNotes[0] + (chart.player == kDoublePlay ? 0 : chart.totalNotes[1]);
  e.lengthMs = chart.lengthMs;
  e.bmsId = chart.bmsId;
}

}  // namespace

std::string ContentHash(std::string_view bytes) {
  uint64_t hash = kFnvOffset;
  for (unsigned char byte : bytes) {
    hash ^= byte;
    hash *= kFnvPrime;
  }
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text(16, '0');
  for (int i = 15; i >= 0; --i, hash >>= 4) text[i] = kDigits[hash & 0xF];
  return text;
}

ChartFactsReader::ChartFactsReader() : chart_(std::make_unique<Chart>()) {}
ChartFactsReader::~ChartFactsReader() = default;

std::optional<LibraryEntry> ChartFactsReader::Read(const std::string& path, std::string* error) {
  // Stat first: a file changed while it is read then looks changed next time.
  struct stat info {};
  errno = 0;
  if (::stat(path.c_str(), &info) != 0) {
    if (error != nullptr) *error = errno == ENOENT ? std::string(kFactsMissing) : std::strerror(errno);
    return std::nullopt;
  }
  errno = 0;
  const FileRead read = ReadWholeFile(path);
  if (!read.ok()) {
    if (error != nullptr) *error = ReadError(read, errno);
    return std::nullopt;
  }
  const TextFacts text = LookOver(read.bytes);

  Chart& chart = *chart_;
  ForgetPreviousChart(chart);
  DebugLog silent;
  NullMediaLoader media;
  LoadContext context{silent, media, LoadOptions{}, {}};
  context.options.noWav = context.options.noBga = true;
  context.options.modernReading = text.needsModern;
  context.options.seed = kFactsSeed;
  const int32_t result = LoadChart(path, chart, context);
  if (result == kLoadMissing) {
    if (error != nullptr) *error = std::string(kFactsMissing);
    return std::nullopt;
  }

  LibraryEntry e = FileFacts(path, info, read.bytes, text);
  ChartFacts(chart, result == kLoadOk, e);
  return e;
}

std::optional<LibraryEntry> ReadChartFacts(const std::string& path, std::string* error) {
  ChartFactsReader reader;
  return reader.Read(path, error);
}

}  // namespace vremo
