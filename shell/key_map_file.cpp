// LoadKeyMap / SaveKeyMap: the 512-byte little-endian table.
#include "shell/key_map_file.h"

#include <cerrno>

#include "chart/file_bytes.h"
#include "shell/atomic_file.h"

namespace vremo {

KeyMap LoadKeyMap(const std::string& path, DebugLog& log) {
  log.PutLog("Loading vrkeycnf.dat...");
  const FileRead file = ReadWholeFile(path);
  if (!file.ok()) {
    if (file.status != FileReadStatus::kMissing) log.PutLog(FileReadErrorLine(file, path));
    log.PutLog("error! sets default.");
    return DefaultKeyMap();
  }
  const std::string& bytes = file.bytes;
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
  // The table is written over the file, not in place of it; a file that
  // cannot be read whole is left as it is.
  const FileRead old = ReadWholeFile(path);
  bool saved = false;
  if (old.ok() || old.status == FileReadStatus::kMissing) {
    if (old.bytes.size() > bytes.size()) bytes += old.bytes.substr(bytes.size());
    saved = WriteFileAtomically(path, bytes);
    if (!saved) log.PutLog(FileWriteErrorLine(path, errno));
  } else {
    log.PutLog(FileReadErrorLine(old, path));
  }
  log.PutLog("complete.");
  return saved;
}

}  // namespace vremo
