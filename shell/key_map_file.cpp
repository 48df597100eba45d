// LoadKeyMap / SaveKeyMap: the 512-byte little-endian table.
#include "shell/key_map_file.h"

#include <fstream>
#include <iterator>

#include "chart/bms_reader.h"
#include "shell/atomic_file.h"

namespace vremo {

KeyMap LoadKeyMap(const std::string& path, DebugLog& log) {
  log.PutLog("Loading vrkeycnf.dat...");
  std::ifstream file(path, std::ios::binary);
  if (!file.is_open()) {
    log.PutLog("error! sets default.");
    return DefaultKeyMap();
  }
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  KeyMap map{};
  for (size_t i = 0; i < map.size() && 2 * i + 1 < bytes.size(); ++i) {
    const auto low = static_cast<uint8_t>(bytes[2 * i]);
    const auto high = static_cast<uint8_t>(bytes[2 * i + 1]);
    map[i] = static_cast<int16_t>(static_cast<uint16_t>(low | (high << 8)));
  }
  log.PutLog("load complete.");
  return map;
}

std::string EncodeKeyMap(const KeyMap& map) {
  std::string bytes(kKeyMapFileBytes, '\0');
  for (size_t i = 0; i < map.size(); ++i) {
    const auto value = static_cast<uint16_t>(map[i]);
    bytes[2 * i] = static_cast<char>(value & 0xFF);
    bytes[2 * i + 1] = static_cast<char>(value >> 8);
  }
  return bytes;
}

bool SaveKeyMap(const std::string& path, const KeyMap& map, DebugLog& log) {
  log.PutLog("saving vrkeycnf.dat...");
  std::string bytes = EncodeKeyMap(map);
  // The table is written over the file, not in place of it.
  const std::string old = ReadFileBytes(path);
  if (old.size() > bytes.size()) bytes += old.substr(bytes.size());
  const bool saved = WriteFileAtomically(path, bytes);
  log.PutLog("complete.");
  return saved;
}

}  // namespace vremo
