// Header commands and channel lines of the modern reading.
#include "chart/modern_lines.h"

#include <string>

#include "chart/chart_text.h"
#include "chart/numbers.h"
#include "chart/text_detect.h"

namespace vremo {
namespace {

constexpr size_t kChannelDataColumn = 6;  // after "mmmcc:"
constexpr size_t kSlotWordLength = 5;     // WAVxx, BMPxx, BPMxx
constexpr size_t kTableWordLength = 7;    // EXBPMxx

bool IsDigit(char32_t c) { return c >= U'0' && c <= U'9'; }
bool IsAlnum(char32_t c) { return IsDigit(c) || (c >= U'A' && c <= U'Z') || (c >= U'a' && c <= U'z'); }

bool IsChannelLine(std::u32string_view line) {
  return line.size() >= kChannelDataColumn && IsDigit(line[0]) && IsDigit(line[1]) && IsDigit(line[2]) &&
         IsAlnum(line[3]) && IsAlnum(line[4]);
}

bool KeptChannel(int32_t code) {
  return code == kCodeBackgroundSound || code == kCodeTempo || code == ChannelCode('0', '4') ||
         code == ChannelCode('0', '6') || code == ChannelCode('0', '7') || code == kCodeTempoTable ||
         code == kCodeStop || LaneOfCode(code).has_value();
}

void ReadChannelLine(std::u32string_view line, ModernData& d) {
  const int32_t measure = (line[0] - U'0') * 100 + (line[1] - U'0') * 10 + (line[2] - U'0');
  const int32_t code = Base36Pair(line.substr(3, 2)).value_or(0);
  if (measure > d.maxMeasure) d.maxMeasure = measure;
  const std::u32string_view data = TrimSpace(line.substr(kChannelDataColumn));
  if (code == kCodeMeasureLength) {
    if (auto length = ParseNumber(data); length && *length > 0.0) d.measureLength[measure] = *length;
    return;
  }
  if (!KeptChannel(code)) return;
  const auto pairs = static_cast<int32_t>(data.size() / 2);
  for (int32_t i = 0; i < pairs; ++i) {
    const std::u32string_view text = data.substr(2 * static_cast<size_t>(i), 2);
    const auto pair = code == kCodeTempo ? HexPair(text) : Base36Pair(text);
    if (!pair || *pair == 0) continue;
    if (d.objects.size() >= kModernMaxObjects) {
      ++d.droppedObjects;
      continue;
    }
    d.objects.push_back(ModernObject{measure, i, pairs, static_cast<int16_t>(code), static_cast<int16_t>(*pair), 0.0});
  }
}

std::u32string UpperWord(std::u32string_view line) {
  std::u32string word;
  for (char32_t c : line) {
    if (!IsAlnum(c)) break;
    word.push_back(c >= U'a' && c <= U'z' ? c - 32 : c);
  }
  return word;
}

void SetInteger(int32_t& field, std::u32string_view argument) {
  if (auto number = ParseNumber(argument)) {
    if (auto rounded = RoundToInt32(*number)) field = *rounded;
  }
}

// #BPMxx, #EXBPMxx, #STOPxx: a number into a base-36 slot table.
bool ReadTableLine(const std::u32string& word, std::u32string_view argument, ModernData& d) {
  std::vector<double>* table = nullptr;
  std::u32string_view slotText;
  if (word.size() == kSlotWordLength && word.compare(0, 3, U"BPM") == 0) {
    table = &d.tempoTable, slotText = std::u32string_view(word).substr(3);
  } else if (word.size() == kTableWordLength && word.compare(0, 5, U"EXBPM") == 0) {
    table = &d.tempoTable, slotText = std::u32string_view(word).substr(5);
  } else if (word.size() == kSlotWordLength + 1 && word.compare(0, 4, U"STOP") == 0) {
    table = &d.stopTable, slotText = std::u32string_view(word).substr(4);
  } else {
    return false;
  }
  const auto slot = Base36Pair(slotText);
  const auto number = ParseNumber(argument);
  if (slot && number) (*table)[*slot] = *number;
  return true;
}

void ReadHeaderLine(std::u32string_view line, ChartHeader& h, ModernData& d, const HeaderHooks* hooks) {
  const std::u32string word = UpperWord(line);
  const std::u32string_view argument = TrimSpace(line.substr(word.size()));
  const bool media =
      word.size() == kSlotWordLength && (word.compare(0, 3, U"WAV") == 0 || word.compare(0, 3, U"BMP") == 0);
  if (media) {
    const auto slot = Base36Pair(std::u32string_view(word).substr(3));
    if (!slot || hooks == nullptr) return;
    const auto& hook = word[0] == U'W' ? hooks->onWav : hooks->onBmp;
    if (hook) hook(*slot, argument);
  } else if (word == U"TITLE") {
    h.title = ToUtf8(argument);
  } else if (word == U"ARTIST") {
    h.artist = ToUtf8(argument);
  } else if (word == U"GENRE") {
    h.genre = ToUtf8(argument);
  } else if (word == U"BPM") {
    if (auto number = ParseNumber(argument)) {
      if (auto bpm = ToSingle(*number)) {
        h.bpm = *bpm;
        d.bpm = *number;
      }
    }
  } else if (word == U"RANK") {
    SetInteger(h.rank, argument);
  } else if (word == U"TOTAL") {
    SetInteger(h.total, argument);
  } else if (word == U"VOLWAV") {
    SetInteger(h.volWav, argument);
  } else if (word == U"PLAYER") {
    SetInteger(h.player, argument);
  } else if (word == U"PLAYLEVEL") {
    SetInteger(h.playLevel, argument);
  } else if (word == U"MIDIFILE") {
    h.midiFile = ToUtf8(argument);
    if (hooks != nullptr && hooks->onMidiFile) hooks->onMidiFile();
  } else if (word == U"LNTYPE") {
    SetInteger(d.lnType, argument);
  } else if (word == U"LNOBJ") {
    if (auto slot = Base36Pair(argument)) {
      d.longNoteEnd[*slot] = true;
      d.anyLongNoteEnd = true;
    }
  } else {
    ReadTableLine(word, argument, d);
  }
}

}  // namespace

void ReadModernLine(std::u32string_view line, ChartHeader& header, ModernData& data, const HeaderHooks* hooks) {
  if (IsChannelLine(line)) {
    ReadChannelLine(line, data);
  } else {
    ReadHeaderLine(line, header, data, hooks);
  }
}

}  // namespace vremo
