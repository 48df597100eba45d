#pragma once
// The walk of the library folders for the scanner: every song folder with its
// chart files (*.bms, *.bme; size and mtime from one stat, nothing read),
// symlinked folders followed once by device and inode so loops are cut,
// FIFOs and devices never opened. What cannot be walked is reported and the
// walk goes on. Internal to library/; the scanning thread.

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "library/library_scan.h"

namespace vremo {

struct WalkedFile {
  std::string path;
  int64_t fileSize = 0;
  int64_t modifiedNs = 0;
};

struct WalkedFolder {
  std::string path;               // without a trailing "/"
  std::vector<WalkedFile> files;  // chart files, sorted by name
};

struct FolderWalk {
  std::vector<WalkedFolder> folders;  // every folder reached, in path order
  // Folders (and missing roots) whose contents could not be listed: the
  // charts known under them are kept.
  std::vector<std::string> unlisted;
  std::vector<std::string> skipped;  // lines for ScanReport::skipped
};

// True when `path` lies somewhere below `folder`.
bool IsInsideFolder(const std::string& path, const std::string& folder);

// True for names ending in .bms or .bme, in any letter case.
bool IsChartFileName(std::string_view name);

// Walks the roots; a root inside another root is walked once.
FolderWalk WalkFolders(const std::vector<std::string>& roots);

}  // namespace vremo
