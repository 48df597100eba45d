// Encoding detection by decoding cleanly and plausibly; line splitting.
#include "chart/text_detect.h"

#include "chart/chart_text.h"

namespace vremo {
namespace {

constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";
// An undecodable byte weighs far more than any character's plausibility.
constexpr int64_t kErrorWeight = 16;
constexpr int64_t kLanguageWeight = 2;  // kana, Hangul of the common set
constexpr int64_t kIdeographWeight = 1;
constexpr int64_t kRareWeight = -3;  // halfwidth kana, extension-only pairs

bool IsKana(char32_t c) { return c >= 0x3041 && c <= 0x30FF; }
bool IsHalfwidthKana(char32_t c) { return c >= 0xFF61 && c <= 0xFF9F; }
bool IsHangulSyllable(char32_t c) { return c >= 0xAC00 && c <= 0xD7A3; }
bool IsIdeograph(char32_t c) { return c >= 0x4E00 && c <= 0x9FFF; }

// The CP949 pairs of the 8822 syllables only its extension holds (leads
// 0x81-0xA0 with any trail, leads 0xA1-0xC6 with trails below 0xA1):
// Japanese text misread as CP949 falls there, Korean text rarely does.
int64_t Cp949ExtensionPairs(std::string_view bytes) {
  int64_t pairs = 0;
  for (size_t i = 0; i + 1 < bytes.size(); ++i) {
    const auto lead = static_cast<unsigned char>(bytes[i]);
    if (lead < 0x81 || lead == 0xFF) continue;
    const auto trail = static_cast<unsigned char>(bytes[i + 1]);
    if (trail >= 0x41 && (lead <= 0xA0 || (lead <= 0xC6 && trail < 0xA1))) ++pairs;
    ++i;
  }
  return pairs;
}

int64_t Plausibility(std::u32string_view text, size_t errors, bool korean) {
  int64_t score = -static_cast<int64_t>(errors) * kErrorWeight;
  for (char32_t c : text) {
    if (IsIdeograph(c)) {
      score += kIdeographWeight;
    } else if (korean ? IsHangulSyllable(c) : IsKana(c)) {
      score += kLanguageWeight;
    } else if (!korean && IsHalfwidthKana(c)) {
      score += kRareWeight;
    }
  }
  return score;
}

}  // namespace

const char* ChartEncodingName(ChartEncoding encoding) {
  switch (encoding) {
    case ChartEncoding::kCp932:
      return "CP932";
    case ChartEncoding::kCp949:
      return "CP949";
    case ChartEncoding::kUtf8:
      break;
  }
  return "UTF-8";
}

DecodedChartText DecodeModernChartBytes(std::string_view bytes) {
  const size_t nul = bytes.find('\0');
  if (nul != std::string_view::npos) bytes = bytes.substr(0, nul);
  DecodedChartText result;
  std::string_view body = bytes;
  if (body.substr(0, kUtf8Bom.size()) == kUtf8Bom) body.remove_prefix(kUtf8Bom.size());
  if (DecodeUtf8(body, result.text)) return result;

  size_t japaneseErrors = 0;
  size_t koreanErrors = 0;
  std::u32string japanese = DecodeWithIconv(bytes, ChartEncodingName(ChartEncoding::kCp932), &japaneseErrors);
  std::u32string korean = DecodeWithIconv(bytes, ChartEncodingName(ChartEncoding::kCp949), &koreanErrors);
  const int64_t japaneseScore = Plausibility(japanese, japaneseErrors, false);
  const int64_t koreanScore = Plausibility(korean, koreanErrors, true) + kRareWeight * Cp949ExtensionPairs(bytes);
  if (koreanScore > japaneseScore) {
    result.text = std::move(korean);
    result.encoding = ChartEncoding::kCp949;
  } else {
    result.text = std::move(japanese);
    result.encoding = ChartEncoding::kCp932;
  }
  return result;
}

std::u32string_view TrimSpace(std::u32string_view text) {
  while (!text.empty() && (text.front() == U' ' || text.front() == U'\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == U' ' || text.back() == U'\t')) text.remove_suffix(1);
  return text;
}

void ForEachModernLine(std::u32string_view text, const std::function<void(std::u32string_view line)>& onLine) {
  size_t start = 0;
  while (start < text.size()) {
    size_t end = start;
    while (end < text.size() && text[end] != U'\r' && text[end] != U'\n') ++end;
    const std::u32string_view line = TrimSpace(text.substr(start, end - start));
    if (!line.empty() && line.front() == U'#') onLine(line.substr(1));
    start = end;
    if (start < text.size() && text[start] == U'\r') {
      ++start;
      if (start < text.size() && text[start] == U'\n') ++start;
    } else if (start < text.size()) {
      ++start;  // LF
    }
  }
}

}  // namespace vremo
