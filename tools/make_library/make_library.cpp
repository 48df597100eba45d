// make_library OUTDIR [--folders N] [--charts M]: writes a chart collection
// shaped like a player's (default 2,000 song folders of 5 charts: 10,000
// charts of 15-30 KB), for the library's scan figures (bench/library_scan.sh)
// and its process tests. Every song folder holds its difficulties: 7 keys
// mostly, 5 keys for every fifth song, one 14-key chart (#PLAYER 3) each;
// a quarter of the songs have Japanese titles in Shift-JIS (CP932), a few in
// UTF-8 with a BOM; every eighth chart needs the modern reading (#RANDOM,
// #LNOBJ). The media the charts name are not written. The same arguments
// always give the same bytes.
//
// make_library OUTDIR --touch PERCENT: changes that share of the charts
// already there (spread evenly over the sorted paths): a comment line is
// added, so size and mtime change, as an editor's save would.
// Nothing here is part of the player.

#include <iconv.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int kDefaultFolders = 2000;
constexpr int kDefaultCharts = 5;
constexpr uint32_t kSeed = 20261123;
constexpr int kArtistNumbers = 500;
constexpr int kMeasuresMin = 48;
constexpr int kMeasuresSpread = 40;
constexpr int kWavMin = 40;
constexpr int kWavSpread = 120;
constexpr int kBmpCount = 4;
constexpr int kSlotsPerLine = 16;
constexpr int kBgmLinesMax = 4;
constexpr int kModernEvery = 8;
constexpr int kFiveKeyEvery = 5;
constexpr int kJapaneseEvery = 4;
constexpr int kUtf8Every = 20;
constexpr int kChartsMaxPerFolder = 100;
constexpr const char* kDigits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr const char* kCrLf = "\r\n";

const std::vector<std::string> kWords = {
    "kaleidoscope", "karma",    "neon",    "horizon", "crystal", "midnight", "velocity", "paradise", "echo",
    "aurora",       "spiral",   "garden",  "thunder", "silver",  "kaze",     "nova",     "prism",    "requiem",
    "sakura",       "overdose", "phantom", "blue",    "rain",    "carnival", "zenith",   "eclipse",  "ember",
    "labyrinth",    "mirage",   "orbit",   "pulse",   "quartz",  "rhapsody", "serenade", "tempest",  "utopia"};
const std::vector<std::string> kJapaneseWords = {"夜明け", "桜",     "星空",         "幻想",   "電脳", "恋",     "花火",
                                                 "蒼",     "雪月花", "カタストロフ", "ネオン", "かぜ", "ひかり", "月",
                                                 "夢",     "虹色",   "迷宮",         "疾風",   "天使", "真夜中"};
const std::vector<std::string> kGenres = {"TRANCE",  "HARDCORE", "DRUM'N'BASS", "J-POP",     "TECHNO",
                                          "HOUSE",   "ROCK",     "ARTCORE",     "EUROBEAT",  "AMBIENT",
                                          "DUBSTEP", "FUTURE",   "CLASSIC",     "SPEEDCORE", "電波"};
const std::vector<std::string> kDifficulties = {"BEGINNER", "NORMAL", "HYPER", "ANOTHER", "INSANE"};

// The played channels of each key mode.
const std::vector<int> kFiveKeyLanes = {11, 12, 13, 14, 15, 16};
const std::vector<int> kSevenKeyLanes = {11, 12, 13, 14, 15, 18, 19, 16};
const std::vector<int> kFourteenKeyLanes = {11, 12, 13, 14, 15, 18, 19, 16, 21, 22, 23, 24, 25, 28, 29, 26};

// Slot names: hexadecimal as the classic reading knows them, base 36 in the
// charts that need the modern reading anyway.
std::string SlotName(int value, bool modern) {
  const int base = modern ? 36 : 16;
  return {kDigits[(value / base) % base], kDigits[value % base]};
}

std::string ToCp932(const std::string& utf8) {
  iconv_t cd = iconv_open("CP932", "UTF-8");
  if (cd == reinterpret_cast<iconv_t>(-1)) return utf8;
  std::string out(utf8.size() * 2 + 4, '\0');
  char* in = const_cast<char*>(utf8.data());
  size_t inLeft = utf8.size();
  char* outPtr = out.data();
  size_t outLeft = out.size();
  const size_t done = iconv(cd, &in, &inLeft, &outPtr, &outLeft);
  iconv_close(cd);
  if (done == static_cast<size_t>(-1)) return utf8;
  out.resize(out.size() - outLeft);
  return out;
}

struct Song {
  int number = 0;
  std::string title;  // UTF-8
  std::string artist;
  std::string genre;
  int bpm = 0;
  bool japanese = false;
  bool utf8 = false;
  bool fiveKeys = false;
};

Song MakeSong(int number, std::mt19937& random) {
  Song song;
  song.number = number;
  song.japanese = number % kJapaneseEvery == 1;
  song.utf8 = song.japanese && number % kUtf8Every == 1;
  song.fiveKeys = number % kFiveKeyEvery == 0;
  const std::vector<std::string>& words = song.japanese ? kJapaneseWords : kWords;
  const int count = 1 + static_cast<int>(random() % 3);
  for (int i = 0; i < count; ++i) {
    if (i > 0 && !song.japanese) song.title += ' ';
    song.title += words[random() % words.size()];
  }
  song.artist = number % 3 == 0 ? kWords[random() % kWords.size()] + " feat. artist " + std::to_string(number % 97)
                                : "artist " + std::to_string(number % kArtistNumbers);
  song.genre = kGenres[random() % kGenres.size()];
  song.bpm = 90 + static_cast<int>(random() % 110);
  return song;
}

// One channel line of a measure: `slots` pairs, each note present with the given chance in 1/100.
std::string ChannelLine(int measure, int channel, int chance, int wavCount, bool modern, std::mt19937& random) {
  char head[16];
  std::snprintf(head, sizeof head, "#%03d%02d:", measure, channel);
  std::string line = head;
  for (int slot = 0; slot < kSlotsPerLine; ++slot) {
    const bool note = static_cast<int>(random() % 100) < chance;
    line += note ? SlotName(1 + static_cast<int>(random() % wavCount), modern) : "00";
  }
  return line + kCrLf;
}

std::string ChartBody(int keys, int level, bool modern, int wavCount, std::mt19937& random) {
  const std::vector<int>& lanes = keys == 5 ? kFiveKeyLanes : keys == 14 ? kFourteenKeyLanes : kSevenKeyLanes;
  const int measures = kMeasuresMin + static_cast<int>(random() % kMeasuresSpread);
  // A few hundred notes: the chance of a note on a slot grows with the level.
  const int chance = 2 + level / 2;
  std::string body = "*---------------------- MAIN DATA FIELD\r\n\r\n";
  for (int measure = 1; measure <= measures; ++measure) {
    const int bgm = 1 + static_cast<int>(random() % kBgmLinesMax);
    for (int i = 0; i < bgm; ++i) body += ChannelLine(measure, 1, 25, wavCount, modern, random);
    if (measure % 4 == 1) body += ChannelLine(measure, 4, 12, kBmpCount, modern, random);
    for (int lane : lanes) {
      if (random() % 3 == 0) continue;
      body += ChannelLine(measure, lane, chance, wavCount, modern, random);
    }
    body += kCrLf;
  }
  if (modern) {
    // A random block choosing between two endings, and a long note by its end mark.
    body += "#RANDOM 2\r\n#IF 1\r\n" + ChannelLine(measures + 1, lanes[0], 30, wavCount, modern, random) + "#ENDIF\r\n";
    body +=
        "#IF 2\r\n" + ChannelLine(measures + 1, lanes[1], 30, wavCount, modern, random) + "#ENDIF\r\n#ENDRANDOM\r\n";
    char end[32];
    std::snprintf(end, sizeof end, "#%03d%02d:0100ZZ00%s", measures + 2, lanes[0], kCrLf);
    body += end;
  }
  return body;
}

std::string ChartBytes(const Song& song, int index, std::mt19937& random) {
  const int keys = index == 4 ? 14 : song.fiveKeys && index < 2 ? 5 : 7;
  const int level = std::min(12, 1 + index * 3 + static_cast<int>(random() % 3));
  const bool modern = (song.number + index) % kModernEvery == 0;
  const int wavCount = kWavMin + static_cast<int>(random() % kWavSpread);
  std::string header = "\r\n*---------------------- HEADER FIELD\r\n\r\n";
  header += std::string("#PLAYER ") + (keys == 14 ? "3" : "1") + kCrLf;
  header += "#GENRE " + song.genre + kCrLf;
  header += "#TITLE " + song.title + kCrLf;
  header += "#SUBTITLE [" + kDifficulties[index % kDifficulties.size()] + "]" + kCrLf;
  header += "#ARTIST " + song.artist + kCrLf;
  header += "#BPM " + std::to_string(song.bpm) + kCrLf;
  header += "#PLAYLEVEL " + std::to_string(level) + kCrLf;
  header += "#RANK " + std::to_string(random() % 4) + kCrLf;
  header += "#TOTAL " + std::to_string(200 + random() % 300) + kCrLf;
  header += "#STAGEFILE stage.bmp\r\n\r\n";
  if (modern) header += "#LNOBJ ZZ\r\n";
  for (int slot = 1; slot <= wavCount; ++slot) {
    header += "#WAV" + SlotName(slot, modern) + " sound_" + std::to_string(slot) + ".wav" + kCrLf;
  }
  for (int slot = 1; slot <= kBmpCount; ++slot)
    header += "#BMP" + SlotName(slot, modern) + " bga" + std::to_string(slot) + ".bmp\r\n";
  std::string bytes = header + "\r\n" + ChartBody(keys, level, modern, wavCount, random);
  if (song.utf8) return "\xEF\xBB\xBF" + bytes;
  return song.japanese ? ToCp932(bytes) : bytes;
}

std::string ChartName(const Song& song, int index) {
  const int keys = index == 4 ? 14 : song.fiveKeys && index < 2 ? 5 : 7;
  const std::string mark = kDifficulties[index % kDifficulties.size()].substr(0, 1);
  const std::string extra = index >= static_cast<int>(kDifficulties.size()) ? "_" + std::to_string(index) : "";
  return "_" + std::to_string(keys) + mark + extra + (keys == 5 ? ".bms" : ".bme");
}

bool WriteFile(const fs::path& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(file);
}

int Generate(const fs::path& out, int folders, int charts) {
  std::mt19937 random(kSeed);
  int64_t bytes = 0;
  for (int number = 1; number <= folders; ++number) {
    const Song song = MakeSong(number, random);
    char prefix[16];
    std::snprintf(prefix, sizeof prefix, "%05d ", number);
    const fs::path folder = out / (prefix + song.title);
    std::error_code error;
    fs::create_directories(folder, error);
    for (int index = 0; index < charts; ++index) {
      const std::string chart = ChartBytes(song, index, random);
      if (!WriteFile(folder / ChartName(song, index), chart)) {
        std::fprintf(stderr, "make_library: cannot write in %s\n", folder.c_str());
        return 1;
      }
      bytes += static_cast<int64_t>(chart.size());
    }
  }
  std::printf("%d song folders, %d charts, %lld bytes in %s\n", folders, folders * charts,
              static_cast<long long>(bytes), out.c_str());
  return 0;
}

int Touch(const fs::path& out, double percent) {
  std::vector<fs::path> charts;
  std::error_code error;
  for (fs::recursive_directory_iterator it(out, error), end; !error && it != end; it.increment(error)) {
    const std::string extension = it->path().extension().string();
    if (it->is_regular_file(error) && (extension == ".bms" || extension == ".bme")) charts.push_back(it->path());
  }
  std::sort(charts.begin(), charts.end());
  int touched = 0;
  for (size_t i = 0; i < charts.size(); ++i) {
    // Evenly spread: chart i is touched when the running share passes a whole chart.
    if (static_cast<int64_t>(static_cast<double>(i + 1) * percent / 100) ==
        static_cast<int64_t>(static_cast<double>(i) * percent / 100)) {
      continue;
    }
    std::ofstream file(charts[i], std::ios::binary | std::ios::app);
    file << "* edited " << ++touched << kCrLf;
  }
  std::printf("%d of %zu charts changed\n", touched, charts.size());
  return 0;
}

int Usage() {
  std::fprintf(stderr, "usage: make_library OUTDIR [--folders N] [--charts M] | OUTDIR --touch PERCENT\n");
  return 64;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Usage();
  const fs::path out = argv[1];
  int folders = kDefaultFolders;
  int charts = kDefaultCharts;
  for (int i = 2; i < argc; ++i) {
    const std::string arg = argv[i];
    if (i + 1 >= argc) return Usage();
    const char* value = argv[++i];
    if (arg == "--touch") return Touch(out, std::atof(value));
    if (arg == "--folders") {
      folders = std::atoi(value);
    } else if (arg == "--charts") {
      charts = std::atoi(value);
    } else {
      return Usage();
    }
  }
  if (folders < 1 || charts < 1 || charts > kChartsMaxPerFolder) return Usage();
  return Generate(out, folders, charts);
}
