#pragma once
// Decimal texts as the play screens and the score log show numbers: rounded
// half away from zero (unlike stored integers, which round halves to even),
// with a minimum count of integer digits padded with zeros ("00018", "0.0").
// Pure functions; any thread.

#include <string>

namespace vremo {

std::string FormatNumber(double value, int minIntegerDigits, int decimals);

}  // namespace vremo
