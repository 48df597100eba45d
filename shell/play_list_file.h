#pragma once
// The bytes of a list file (*.vrl): a 20-byte signature, Count (the index of
// the last entry) at offset 20, then every entry field by field; strings as
// a 16-bit length and their bytes. Called by PlayList. Pure; any thread.

#include <string>
#include <string_view>
#include <vector>

#include "chart/bms_reader.h"

namespace vremo {

std::string EncodeListFile(const std::vector<ChartListInfo>& entries);

// Appends the entries the bytes hold to `out`; false when the bytes end
// before Count's last entry (the complete entries read so far are kept), or
// go on after it, or Count is below -1.
// The signature is not checked. Strings are read as UTF-8 when they are
// valid UTF-8, otherwise as CP932.
bool DecodeListFile(std::string_view bytes, std::vector<ChartListInfo>& out);

}  // namespace vremo
