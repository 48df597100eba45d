#pragma once
// Reading a whole file into memory without trusting it: the files Vremo
// parses itself (charts, layouts, settings, key map, lists, records) come
// through here. Only regular files are read, opened so that a FIFO or a device never
// blocks, with a size bound far above any real file, and a read error part
// way gives a refusal instead of an exception. Any thread.

#include <cstddef>
#include <string>
#include <string_view>

#include "chart/debug_log.h"

namespace vremo {

// The largest file read whole: the largest real chart is 350 KB.
inline constexpr size_t kMaxFileBytes = size_t{64} << 20;

enum class FileReadStatus {
  kRead,        // `bytes` holds the file
  kMissing,     // no such file
  kNotRegular,  // a folder, FIFO, device or socket
  kTooLarge,    // over the bound given
  kFailed,      // it may not be opened, or a read error part way
};

struct FileRead {
  FileReadStatus status = FileReadStatus::kMissing;
  std::string bytes;  // empty unless kRead
  bool ok() const { return status == FileReadStatus::kRead; }
};

// Reads the whole regular file when it holds at most `maxBytes` bytes. A file
// whose stated size is 0 (as /proc files say) is read to its end within the
// bound.
FileRead ReadWholeFile(const std::string& path, size_t maxBytes = kMaxFileBytes);

// The log line for a read that was refused, in the manner of CheckExist's
// "Err[not exist] :": "Err[not a file] :fifo.bms", "Err[too large] :...",
// "Err[read failed] :mem". Empty for kRead.
std::string FileReadErrorLine(const FileRead& read, const std::string& path, size_t maxBytes = kMaxFileBytes);

// Writes all of `bytes` to the open file, going on after short writes and
// interrupted calls; false (errno set) when the system refuses the rest.
bool WriteAllBytes(int fd, std::string_view bytes);

// The log line for a file that could not be written, with the system's
// reason: "Err[write failed] :vremo.ini (No space left on device)".
std::string FileWriteErrorLine(const std::string& path, int error);

// The part of a path after its last "/" or "\\", as log lines name files.
std::string FileNameOf(const std::string& path);

// The file's bytes; empty when it cannot be read.
std::string ReadFileBytes(const std::string& path);
// The same, logging the refusal line (a missing file is left to CheckExist).
std::string ReadFileBytes(const std::string& path, DebugLog& log);

}  // namespace vremo
