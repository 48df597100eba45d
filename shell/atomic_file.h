#pragma once
// Writing a whole file so that a crash never leaves half of it: the bytes go
// to a temporary file in the same folder, which then replaces the target.
// Used by the record, list and hand-over files. Any thread.

#include <string>
#include <string_view>

namespace vremo {

// True when the file now holds exactly `bytes`; on failure the old file is
// untouched, the temporary file removed and errno says why. A symbolic link is written
// through: its final target is replaced and the link stays. The file keeps
// its mode and owner; a new file gets mode 0644.
bool WriteFileAtomically(const std::string& path, std::string_view bytes);

inline constexpr std::string_view kBackupSuffix = ".bak";

// Copies a file that could not be read as what it should be to
// path + kBackupSuffix before it is replaced: only a regular file of at most
// kMaxFileBytes (a larger one is left alone rather than copied). True when
// the copy exists.
bool BackUpFile(const std::string& path);

}  // namespace vremo
