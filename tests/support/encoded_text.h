#pragma once
// UTF-8 text in another encoding (e.g. "CP932", "CP949"), as a chart written
// in that encoding holds it.

#include <gtest/gtest.h>
#include <iconv.h>

#include <string>

namespace vremo::testing {

inline std::string Encoded(const std::string& utf8, const char* encoding) {
  iconv_t cd = iconv_open(encoding, "UTF-8");
  EXPECT_NE(cd, reinterpret_cast<iconv_t>(-1)) << encoding;
  std::string out(utf8.size() * 4, '\0');
  char* in = const_cast<char*>(utf8.data());
  size_t inLeft = utf8.size();
  char* outPtr = out.data();
  size_t outLeft = out.size();
  EXPECT_NE(iconv(cd, &in, &inLeft, &outPtr, &outLeft), static_cast<size_t>(-1));
  iconv_close(cd);
  out.resize(out.size() - outLeft);
  return out;
}

}  // namespace vremo::testing
