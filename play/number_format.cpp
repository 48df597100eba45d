// Zero-padded decimal texts.
#include "play/number_format.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vremo {

std::string FormatNumber(double value, int minIntegerDigits, int decimals) {
  if (!std::isfinite(value)) return std::isnan(value) ? "NaN" : (value < 0 ? "-Infinity" : "Infinity");
  decimals = std::max(decimals, 0);
  const double scaled = std::round(std::fabs(value) * std::pow(10.0, decimals));
  char buffer[400];
  std::snprintf(buffer, sizeof buffer, "%.0f", scaled);
  const std::string digits = buffer;
  // At least one integer digit, and the minimum asked for.
  const size_t wanted = static_cast<size_t>(decimals) + static_cast<size_t>(std::max(minIntegerDigits, 1));
  const size_t padding = digits.size() < wanted ? wanted - digits.size() : 0;
  const size_t integerDigits = padding + digits.size() - static_cast<size_t>(decimals);

  std::string text;
  if (value < 0 && scaled != 0.0) text += '-';
  text.append(padding, '0');
  for (size_t i = 0; i < digits.size(); ++i) {
    if (decimals > 0 && padding + i == integerDigits) text += '.';
    text += digits[i];
  }
  return text;
}

}  // namespace vremo
