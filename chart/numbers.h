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
std::optional<int32_t> Base36Pair(std::u32string_view text);
// The same with hexadecimal digits only ("00"-"FF").
std::optional<int32_t> HexPair(std::u32string_view text);
// A number 0-1295 as two upper-case base-36 characters.
std::string Base36Text(int32_t value);

// Shortest text that reads back as the same value, in plain decimals for
// everyday magnitudes ("150", "0.096", "100000") and with an exponent only
// for very large or small ones. Finite values only.
std::string ShortestDecimal(float value);
std::string ShortestDecimal(double value);

}  // namespace vremo
