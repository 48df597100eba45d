#pragma once
// The program keeps its texts as UTF-8 std::string(_view); Qt wants QString.
// One conversion for every window. UI thread only.

#include <QString>
#include <string_view>

namespace vremo {

inline QString ToQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace vremo
