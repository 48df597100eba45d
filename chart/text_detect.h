#pragma once
// Chart text for the modern reading: the encoding told from the bytes (UTF-8
// with or without a byte-order mark, CP932 or CP949/EUC-KR) and the split
// into "#" lines at CR LF, LF or CR. Pure functions; any thread.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace vremo {

enum class ChartEncoding : uint8_t { kUtf8, kCp932, kCp949 };

// "UTF-8", "CP932" or "CP949": the name iconv knows the encoding by, which
// is also how the program shows it.
const char* ChartEncodingName(ChartEncoding encoding);

struct DecodedChartText {
  std::u32string text;
  ChartEncoding encoding = ChartEncoding::kUtf8;
};

// Valid UTF-8 is UTF-8. Otherwise the bytes are decoded as CP932 and as CP949
// and the reading that decodes cleanly and reads most plausibly wins: kana
// and Hangul syllables of the common set count for their language, byte
// pairs that only the rare extensions of either code use count against it.
// A tie keeps CP932. The text ends before the first NUL.
DecodedChartText DecodeModernChartBytes(std::string_view bytes);

// Calls onLine with the text after the "#" of every line whose first
// character that is not a blank or tab is "#"; blanks and tabs at the end
// are cut. Lines end at CR LF, LF or CR; the last needs no line end.
void ForEachModernLine(std::u32string_view text, const std::function<void(std::u32string_view line)>& onLine);

// Blanks and tabs removed from both ends.
std::u32string_view TrimSpace(std::u32string_view text);

}  // namespace vremo
