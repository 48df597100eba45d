// Where the program keeps its files and finds its bundled assets.
#include "shell/program_folder.h"

#include <unistd.h>

#include <cstdlib>
#include <system_error>

#include "play/settings.h"

namespace vremo {
namespace {

namespace fs = std::filesystem;

// The installed layout: <prefix>/bin/vremo and <prefix>/share/vremo.
constexpr const char* kPortableAssets = "assets";
constexpr const char* kInstalledAssets = "../share/vremo";

bool UsableFolder(const fs::path& folder) {
  std::error_code ec;
  fs::create_directories(folder, ec);
  return fs::is_directory(folder, ec) && ::access(folder.c_str(), W_OK) == 0;
}

// The default layout marks a folder of bundled assets.
bool HoldsAssets(const fs::path& folder) {
  std::error_code ec;
  return fs::is_regular_file(folder / kDefaultRectFile, ec);
}

fs::path ExecutableFolder() {
  std::error_code ec;
  const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  return ec ? fs::path() : exe.parent_path();
}

}  // namespace

BundledAssets LocateBundledAssets(const fs::path& exeFolder, const std::string& buildAssets) {
  if (!exeFolder.empty()) {
    std::error_code ec;
    if (fs::is_directory(exeFolder / kPortableAssets, ec)) return {(exeFolder / kPortableAssets).string(), false};
    const fs::path installed = (exeFolder / kInstalledAssets).lexically_normal();
    if (HoldsAssets(installed)) return {installed.string(), true};
  }
  return {buildAssets, false};
}

std::string BundledAssetsFolder() { return LocateBundledAssets(ExecutableFolder(), VREMO_SOURCE_ASSETS_DIR).folder; }

std::string ProgramFolderFor(const fs::path& exeFolder) {
  if (const char* home = std::getenv("VREMO_HOME"); home != nullptr && *home != '\0') {
    if (UsableFolder(home)) return home;
  }
  const bool installed = LocateBundledAssets(exeFolder, {}).installed;
  if (!exeFolder.empty() && !installed && UsableFolder(exeFolder)) return exeFolder.string();
  fs::path data;
  if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg != nullptr && *xdg != '\0') {
    data = xdg;
  } else if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    data = fs::path(home) / ".local" / "share";
  }
  if (!data.empty() && UsableFolder(data / "vremo")) return (data / "vremo").string();
  return ".";
}

std::string ProgramFolder() { return ProgramFolderFor(ExecutableFolder()); }

}  // namespace vremo
