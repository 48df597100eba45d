#pragma once
// The key map file vrkeycnf.dat in the program's folder: the 256 entries of
// the KeyMap in index order, each a 16-bit signed little-endian number, 512
// bytes and nothing else. Loaded during start-up and saved at shut-down by
// the main window. UI thread.

#include <string>
#include <string_view>

#include "chart/debug_log.h"
#include "play/lane_keys.h"

namespace vremo {

inline constexpr std::string_view kKeyMapFileName = "vrkeycnf.dat";
inline constexpr size_t kKeyMapFileBytes = kKeyCodeCount * 2;

// Logs "Loading vrkeycnf.dat..."; an unreadable file gives the default table
// and "error! sets default.", a readable one its entries (a short file
// leaves the missing ones 0) and "load complete.".
KeyMap LoadKeyMap(const std::string& path, DebugLog& log);

// The file's bytes for a table.
std::string EncodeKeyMap(const KeyMap& map);

// Logs "saving vrkeycnf.dat...", writes the table over the file's first 512
// bytes (anything after them stays) atomically, logs "complete.". False when
// the file could not be written; the old one is then kept.
bool SaveKeyMap(const std::string& path, const KeyMap& map, DebugLog& log);

}  // namespace vremo
