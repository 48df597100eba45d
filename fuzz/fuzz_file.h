#pragma once
// Fuzz targets whose reader takes a path: the input's bytes go to one file
// in a private temporary folder of the process, rewritten for every input.
// Single-threaded, as libFuzzer runs a target.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vremo::fuzz {

// The private folder, made on first use and removed at exit.
const std::string& TempFolder();

// Writes the bytes to TempFolder()/name and returns that path.
std::string WriteInput(const uint8_t* data, size_t size, std::string_view name);

inline std::string_view Text(const uint8_t* data, size_t size) { return {reinterpret_cast<const char*>(data), size}; }

// A QGuiApplication on the offscreen platform, for the picture decoders.
void StartGuiApplication();

}  // namespace vremo::fuzz
