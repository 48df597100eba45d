#pragma once
// Little-endian 32-bit fields in byte strings, as the record and list files
// keep them. Reads past the end give zero, the way those files have always
// been read. Pure functions; any thread.

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace vremo {

inline void PutInt32(std::string& out, int32_t value) {
  const auto bits = static_cast<uint32_t>(value);
  for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>((bits >> shift) & 0xFF);
}

inline int32_t Int32At(std::string_view bytes, size_t offset) {
  uint32_t bits = 0;
  for (size_t i = 0; i < 4; ++i) {
    if (offset + i < bytes.size())
      bits |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[offset + i])) << (8 * i);
  }
  return static_cast<int32_t>(bits);
}

inline void PutFloat(std::string& out, float value) {
  int32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  PutInt32(out, bits);
}

inline float FloatAt(std::string_view bytes, size_t offset) {
  const int32_t bits = Int32At(bytes, offset);
  float value = 0.0f;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

}  // namespace vremo
