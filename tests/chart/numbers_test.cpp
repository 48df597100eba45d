#include "chart/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace vremo {
namespace {

TEST(Numbers, RoundReadAndWrite) {
  // Rounding: halves go to even, out of range fails.
  const std::pair<double, int32_t> cases[] = {{0.5, 0},   {1.5, 2},       {2.5, 2},
                                              {-2.5, -2}, {2.5000001, 3}, {2147483647.4, 2147483647}};
  for (auto [value, rounded] : cases) EXPECT_EQ(RoundToInt32(value), rounded) << value;
  EXPECT_EQ(RoundToInt16(32767.4), 32767);
  for (double value : {2147483648.0, std::numeric_limits<double>::infinity(), std::nan("")}) {
    EXPECT_FALSE(RoundToInt32(value)) << value;
  }
  EXPECT_FALSE(RoundToInt16(32767.5));
  EXPECT_FALSE(ToSingle(1e300));

  // Strict: the whole text must be a number.
  const std::pair<std::u32string, double> strict[] = {
      {U"120", 120.0}, {U"-1.25", -1.25}, {U"1e3", 1000.0}, {U".5", 0.5}};
  for (const auto& [text, value] : strict) EXPECT_EQ(ParseNumber(text), value);
  for (const char32_t* text : {U"", U"M 2", U"12abc", U"1,5"}) EXPECT_FALSE(ParseNumber(text));
  // Leading: up to the first character that is no digit; blanks are skipped.
  const std::pair<std::u32string, double> leading[] = {
      {U"001", 1.0}, {U"0.75", 0.75}, {U"1A", 1.0}, {U"abc", 0.0}, {U" 1 2", 12.0}};
  for (const auto& [text, value] : leading) EXPECT_EQ(LeadingNumber(text), value);
  const std::pair<std::u32string, int32_t> hex[] = {{U"FF", 255}, {U"0a", 10}, {U"ZZ", 0}, {U"1Z", 1}};
  for (const auto& [text, value] : hex) EXPECT_EQ(LeadingHex(text), value);
  // Shortest decimals, plain for everyday values.
  EXPECT_EQ(ShortestDecimal(150.0f), "150");
  EXPECT_EQ(ShortestDecimal(222.22f), "222.22");
  EXPECT_EQ(ShortestDecimal(0.096f), "0.096");
  EXPECT_EQ(ShortestDecimal(100000.0), "100000");
  EXPECT_EQ(ShortestDecimal(-0.5), "-0.5");
  EXPECT_EQ(ShortestDecimal(1e30), "1e+30");
}

}  // namespace
}  // namespace vremo
