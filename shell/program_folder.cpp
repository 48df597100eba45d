// Where the program keeps its files.
#include "shell/program_folder.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace vremo {
namespace {

namespace fs = std::filesystem;

bool UsableFolder(const fs::path& folder) {
  std::error_code ec;
  fs::create_directories(folder, ec);
  return fs::is_directory(folder, ec) && ::access(folder.c_str(), W_OK) == 0;
}

}  // namespace

std::string ProgramFolder() {
  if (const char* home = std::getenv("VREMO_HOME"); home != nullptr && *home != '\0') {
    if (UsableFolder(home)) return home;
  }
  std::error_code ec;
  const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  if (!ec && UsableFolder(exe.parent_path())) return exe.parent_path().string();
  fs::path data;
  if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg != nullptr && *xdg != '\0') {
    data = xdg;
  } else if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    data = fs::path(home) / ".local" / "share";
  }
  if (!data.empty() && UsableFolder(data / "vremo")) return (data / "vremo").string();
  return ".";
}

}  // namespace vremo
