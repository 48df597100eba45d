#pragma once
// Number conversions with the chart format's rules: integers round to
// nearest with halves to even, a conversion that fails leaves the target
// alone (hence std::optional), and two parsers: a strict one for header
// arguments and a lenient leading-number one for channel data.
// Pure functions; any thread.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vremo {

// Rounds halves to even; empty when not finite or outside the 32-bit range.
std::optional<int32_t> RoundToInt32(double value);
// The same for 16-bit integers.
std::optional<int16_t> RoundToInt16(double value);
// Nearest single-precision value; empty when it overflows.
std::optional<float> ToSingle(double value);

// Strict: the whole text (already trimmed) must be one decimal number with a
// point as decimal separator and an optional exponent. Empty text fails.
std::optional<double> ParseNumber(std::u32string_view text);

// Lenient: the value of the leading number of the text, 0 when there is
// none. Blanks and tabs are skipped anywhere; a point is the separator.
double LeadingNumber(std::u32string_view text);

// The leading hexadecimal digits of the text as a number, 0 when there are
// none ("1Z" is 1, "Z1" is 0).
int32_t LeadingHex(std::u32string_view text);

// Two characters "00"-"ZZ" (either case) as a base-36 number 0-1295; empty
// when the text is not exactly two such characters.
// Inline: it runs for every pair of every channel line.
inline std::optional<int32_t> DigitPair(std::u32string_view text, int32_t base) {
  auto digit = [](char32_t c) -> int32_t {
    if (c >= U'0' && c <= U'9') return static_cast<int32_t>(c - U'0');
    if (c >= U'A' && c <= U'Z') return static_cast<int32_t>(c - U'A') + 10;
    if (c >= U'a' && c <= U'z') return static_cast<int32_t>(c - U'a') + 10;
    return 36;
  };
  if (text.size() != 2) return std::nullopt;
  const int32_t high = digit(text[0]);
  const int32_t low = digit(text[1]);
  if (high >= base || low >= base) return std::nullopt;
  return high * base + low;
}
inline std::optional<int32_t> Base36Pair(std::u32string_view text) { return DigitPair(text, 36); }
// The same with hexadecimal digits only ("00"-"FF").
inline std::optional<int32_t> HexPair(std::u32string_view text) { return DigitPair(text, 16); }
// A number 0-1295 as two upper-case base-36 characters.
std::string Base36Text(int32_t value);

// Shortest text that reads back as the same value, in plain decimals for
// everyday magnitudes ("150", "0.096", "100000") and with an exponent only
// for very large or small ones. Finite values only.
std::string ShortestDecimal(float value);
std::string ShortestDecimal(double value);

}  // namespace vremo
