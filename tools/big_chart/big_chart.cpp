// Shape after real long charts: most bytes are "00" pairs of 192-step BGA and
// background lines; notes are sparse within their lines.
#include "tools/big_chart/big_chart.h"

#include <cstdio>
#include <initializer_list>

namespace vremo::tools {
namespace {

constexpr int kMeasures = 225;
constexpr int kSoundSlots = 255;
constexpr int kPictureSlots = 200;
constexpr int kLanePairs = 16;
constexpr int kLaneEvery = 6;
constexpr int kBackgroundPairs = 32;
constexpr int kBgaPairs = 192;
constexpr int kBackgroundLines = 3;

// "Hoshi no Uta" and an artist name in Shift-JIS (kanji, kana, a wave dash
// and a circled digit, which only CP932 has).
constexpr const char* kTitle = "\x90\xAF\x82\xCC\x89\xCC\x81\x60\x87\x40 [ANOTHER]";
constexpr const char* kArtist = "\x83\x8D\x83\x93\x83\x4F\x81\x45\x83\x60\x83\x83\x81\x5B\x83\x67 feat. \x89\xCC";

std::string Hex2(int value) {
  char text[3];
  std::snprintf(text, sizeof text, "%02X", value & 0xFF);
  return text;
}

std::string LineHead(int measure, int channel) {
  char text[16];
  std::snprintf(text, sizeof text, "#%03d%02d:", measure, channel);
  return text;
}

// `pairs` pairs, of which every `every`-th one (from `phase`) is a value.
std::string DataLine(int measure, int channel, int pairs, int every, int phase, int seed) {
  std::string line = LineHead(measure, channel);
  for (int i = 0; i < pairs; ++i) {
    line += (i % every == phase) ? Hex2(1 + (seed + i * 7) % 254) : "00";
  }
  return line + "\r\n";
}

void AppendHeader(std::string& text) {
  text += "\r\n*---------------------- HEADER FIELD\r\n\r\n#PLAYER 1\r\n#GENRE HARD TECHNO\r\n";
  text += std::string("#TITLE ") + kTitle + "\r\n#ARTIST " + kArtist + "\r\n";
  text += "#BPM 174\r\n#PLAYLEVEL 12\r\n#RANK 2\r\n#TOTAL 520\r\n#STAGEFILE title.png\r\n\r\n";
  for (int slot = 1; slot <= kSoundSlots; ++slot) {
    text += "#WAV" + Hex2(slot) + " keysound_" + std::to_string(slot) + "_layer.wav\r\n";
  }
  text += "\r\n";
  for (int slot = 1; slot <= kPictureSlots; ++slot) {
    text += "#BMP" + Hex2(slot) + " movie_frame_" + std::to_string(slot) + ".bmp\r\n";
  }
  text += "\r\n*---------------------- MAIN DATA FIELD\r\n\r\n";
}

void AppendMeasure(std::string& text, int m) {
  if (m % 16 == 15) text += LineHead(m, 2) + "0.75\r\n";
  if (m % 8 == 0) text += DataLine(m, 3, 4, 2, 0, m);
  if (m % 8 == 4) text += DataLine(m, 8, 4, 4, 1, m);
  for (int k = 0; k < kBackgroundLines; ++k) text += DataLine(m, 1, kBackgroundPairs, 8, k, m + k);
  // A picture change every quarter, a layer every half, a miss picture per measure.
  text += DataLine(m, 4, kBgaPairs, 48, 0, m);
  if (m % 2 == 0) text += DataLine(m, 7, kBgaPairs, 96, 0, m + 1);
  text += DataLine(m, 6, kBgaPairs, 192, 0, m + 2);
  int lane = 0;
  for (int channel : {16, 11, 12, 13, 14, 15, 18, 19}) {
    text += DataLine(m, channel, kLanePairs, kLaneEvery, (m + lane) % kLaneEvery, m + lane);
    ++lane;
  }
}

}  // namespace

std::string BigChartBytes() {
  std::string text;
  text.reserve(size_t{360} << 10);
  AppendHeader(text);
  for (int m = 0; m < kMeasures; ++m) AppendMeasure(text, m);
  return text;
}

std::string OneNoteChartBytes() { return "#BPM 120\r\n#00111:01\r\n"; }

}  // namespace vremo::tools
