#include "chart/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace vremo {
namespace {

TEST(Rounding, HalvesGoToEven) {
  EXPECT_EQ(RoundToInt32(0.5), 0);
  EXPECT_EQ(RoundToInt32(1.5), 2);
  EXPECT_EQ(RoundToInt32(2.5), 2);
  EXPECT_EQ(RoundToInt32(-2.5), -2);
  EXPECT_EQ(RoundToInt32(2.5000001), 3);
  EXPECT_EQ(RoundToInt16(32767.4), 32767);
}

TEST(Rounding, FailsOutsideTheRangeAndForNonFinite) {
  EXPECT_EQ(RoundToInt32(2147483647.4), 2147483647);
  EXPECT_FALSE(RoundToInt32(2147483648.0));
  EXPECT_FALSE(RoundToInt32(std::numeric_limits<double>::infinity()));
  EXPECT_FALSE(RoundToInt32(std::nan("")));
  EXPECT_FALSE(RoundToInt16(32767.5));
  EXPECT_FALSE(ToSingle(1e300));
}

TEST(StrictNumbers, WholeTextMustBeANumber) {
  EXPECT_EQ(ParseNumber(U"120"), 120.0);
  EXPECT_EQ(ParseNumber(U"-1.25"), -1.25);
  EXPECT_EQ(ParseNumber(U"1e3"), 1000.0);
  EXPECT_EQ(ParseNumber(U".5"), 0.5);
  EXPECT_FALSE(ParseNumber(U""));
  EXPECT_FALSE(ParseNumber(U"M 2"));
  EXPECT_FALSE(ParseNumber(U"12abc"));
  EXPECT_FALSE(ParseNumber(U"1,5"));
}

TEST(LeadingNumbers, StopAtTheFirstNonDigit) {
  EXPECT_EQ(LeadingNumber(U"001"), 1.0);
  EXPECT_EQ(LeadingNumber(U"0.75"), 0.75);
  EXPECT_EQ(LeadingNumber(U"1A"), 1.0);
  EXPECT_EQ(LeadingNumber(U"abc"), 0.0);
  EXPECT_EQ(LeadingNumber(U" 1 2"), 12.0);
  EXPECT_EQ(LeadingHex(U"FF"), 255);
  EXPECT_EQ(LeadingHex(U"0a"), 10);
  EXPECT_EQ(LeadingHex(U"ZZ"), 0);
  EXPECT_EQ(LeadingHex(U"1Z"), 1);
}

TEST(ShortestDecimals, PlainForEverydayValues) {
  EXPECT_EQ(ShortestDecimal(150.0f), "150");
  EXPECT_EQ(ShortestDecimal(222.22f), "222.22");
  EXPECT_EQ(ShortestDecimal(0.096f), "0.096");
  EXPECT_EQ(ShortestDecimal(100000.0), "100000");
  EXPECT_EQ(ShortestDecimal(-0.5), "-0.5");
  EXPECT_EQ(ShortestDecimal(1e30), "1e+30");
}

}  // namespace
}  // namespace vremo
