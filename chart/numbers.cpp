// Number conversions with halves-to-even rounding and failure as "no value".
#include "chart/numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace vremo {
namespace {

bool IsDigit(char32_t c) { return c >= U'0' && c <= U'9'; }
bool IsBlank(char32_t c) { return c == U' ' || c == U'\t'; }

// std::floor without the library call for the values charts hold: every
// position and tick goes through here.
double Floor(double value) {
  constexpr double kExactLimit = 4503599627370496.0;  // 2^52: every double beyond is whole
  if (!(value > -kExactLimit && value < kExactLimit)) return std::floor(value);
  const auto whole = static_cast<double>(static_cast<int64_t>(value));
  return whole > value ? whole - 1.0 : whole;
}

// Rounds to nearest, halves to even, whatever the current rounding mode.
double RoundHalfEven(double value) {
  const double floor = Floor(value);
  const double diff = value - floor;
  if (diff < 0.5) return floor;
  if (diff > 0.5) return floor + 1.0;
  return std::fmod(floor, 2.0) == 0.0 ? floor : floor + 1.0;
}

template <typename Int>
std::optional<Int> RoundTo(double value) {
  if (!std::isfinite(value)) return std::nullopt;
  const double rounded = RoundHalfEven(value);
  if (rounded < static_cast<double>(std::numeric_limits<Int>::min()) ||
      rounded > static_cast<double>(std::numeric_limits<Int>::max())) {
    return std::nullopt;
  }
  return static_cast<Int>(rounded);
}

// Scans "digits[.digits][(E|e|D|d)[sign]digits]" from pos, skipping blanks
// when skipBlanks is set. Appends the accepted characters to out (in the
// form strtod reads) and returns the position after the number.
size_t ScanDecimal(std::u32string_view text, size_t pos, bool skipBlanks, std::string& out) {
  auto skip = [&] {
    while (skipBlanks && pos < text.size() && IsBlank(text[pos])) ++pos;
  };
  size_t digits = 0;
  skip();
  while (pos < text.size() && IsDigit(text[pos])) {
    out += static_cast<char>(text[pos++]);
    ++digits;
    skip();
  }
  if (pos < text.size() && text[pos] == U'.') {
    out += '.';
    ++pos;
    skip();
    while (pos < text.size() && IsDigit(text[pos])) {
      out += static_cast<char>(text[pos++]);
      ++digits;
      skip();
    }
  }
  if (digits == 0) {
    out.clear();
    return pos;
  }
  if (pos < text.size() && (text[pos] == U'E' || text[pos] == U'e' || text[pos] == U'D' || text[pos] == U'd')) {
    size_t p = pos + 1;
    std::string exponent = "e";
    if (p < text.size() && (text[p] == U'+' || text[p] == U'-')) exponent += static_cast<char>(text[p++]);
    size_t expDigits = 0;
    while (p < text.size() && IsDigit(text[p])) {
      exponent += static_cast<char>(text[p++]);
      ++expDigits;
    }
    if (expDigits > 0) {
      out += exponent;
      pos = p;
    }
  }
  return pos;
}

// Locale-independent: a GUI process may run under a locale with a comma.
double FromChars(const std::string& number) {
  double value = 0.0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    return number.find("e-") != std::string::npos ? 0.0 : std::numeric_limits<double>::infinity();
  }
  return value;
}

}  // namespace

std::optional<int32_t> RoundToInt32(double value) { return RoundTo<int32_t>(value); }
std::optional<int16_t> RoundToInt16(double value) { return RoundTo<int16_t>(value); }

std::optional<float> ToSingle(double value) {
  if (std::isfinite(value) && std::fabs(value) > std::numeric_limits<float>::max()) {
    // Values that still round to the largest float are accepted.
    const float f = static_cast<float>(value);
    if (std::isinf(f)) return std::nullopt;
    return f;
  }
  return static_cast<float>(value);
}

std::optional<double> ParseNumber(std::u32string_view text) {
  size_t pos = 0;
  std::string number;
  if (pos < text.size() && (text[pos] == U'+' || text[pos] == U'-')) {
    if (text[pos] == U'-') number += '-';
    ++pos;
  }
  std::string body;
  pos = ScanDecimal(text, pos, false, body);
  if (body.empty() || pos != text.size()) return std::nullopt;
  number += body;
  const double value = FromChars(number);
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

double LeadingNumber(std::u32string_view text) {
  size_t pos = 0;
  while (pos < text.size() && (IsBlank(text[pos]) || text[pos] == U'\n')) ++pos;
  bool negative = false;
  if (pos < text.size() && (text[pos] == U'+' || text[pos] == U'-')) {
    negative = text[pos] == U'-';
    ++pos;
  }
  // Measure and channel numbers: plain digits, read without a conversion.
  constexpr size_t kPlainDigits = 9;
  const std::u32string_view rest = text.substr(pos);
  if (!rest.empty() && rest.size() <= kPlainDigits && std::all_of(rest.begin(), rest.end(), IsDigit)) {
    int32_t plain = 0;
    for (char32_t c : rest) plain = plain * 10 + static_cast<int32_t>(c - U'0');
    return negative ? -static_cast<double>(plain) : static_cast<double>(plain);
  }
  std::string body;
  ScanDecimal(text, pos, true, body);
  if (body.empty()) return 0.0;
  const double value = FromChars(body);
  return negative ? -value : value;
}

int32_t LeadingHex(std::u32string_view text) {
  int32_t value = 0;
  for (char32_t c : text) {
    int digit;
    if (c >= U'0' && c <= U'9') {
      digit = static_cast<int>(c - U'0');
    } else if (c >= U'A' && c <= U'F') {
      digit = static_cast<int>(c - U'A') + 10;
    } else if (c >= U'a' && c <= U'f') {
      digit = static_cast<int>(c - U'a') + 10;
    } else {
      break;
    }
    if (value > (std::numeric_limits<int32_t>::max() >> 4)) break;
    value = value * 16 + digit;
  }
  return value;
}

namespace {
constexpr int32_t kBase36 = 36;

}  // namespace

std::string Base36Text(int32_t value) {
  static constexpr char kDigits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  if (value < 0 || value >= kBase36 * kBase36) return "??";
  return {kDigits[value / kBase36], kDigits[value % kBase36]};
}

namespace {
template <typename Float>
std::string Shortest(Float value) {
  char buffer[400];
  const Float magnitude = value < 0 ? -value : value;
  const bool plain = magnitude == 0 || (magnitude >= Float(1e-6) && magnitude < Float(1e21));
  const auto result = plain ? std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed)
                            : std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}
}  // namespace

std::string ShortestDecimal(float value) { return Shortest(value); }
std::string ShortestDecimal(double value) { return Shortest(value); }

}  // namespace vremo
