#pragma once
// The program's own folder, where every persisted file lives (settings, key
// map, score log, default play list, hand-over file): $VREMO_HOME when set,
// else the executable's folder when it is writable, else
// $XDG_DATA_HOME/vremo (~/.local/share/vremo). An installed Vremo (its assets
// under <prefix>/share/vremo) skips its own folder, so it never writes under
// its prefix, not even when run by root. Also where the bundled assets (demo
// chart, default layout and skin) are found. Any thread.

#include <filesystem>
#include <string>

namespace vremo {

// Created when missing; never empty ("." as the last resort).
std::string ProgramFolder();

// ProgramFolder() for an executable living in `exeFolder`.
std::string ProgramFolderFor(const std::filesystem::path& exeFolder);

// Where an executable in `exeFolder` finds its bundled assets: "assets"
// beside it (a portable folder), else <prefix>/share/vremo when it is
// installed as <prefix>/bin/vremo (found relative to the executable, so a
// moved prefix still works), else `buildAssets` (the source tree the build
// was made from).
struct BundledAssets {
  std::string folder;
  bool installed = false;  // found under <prefix>/share/vremo
};
BundledAssets LocateBundledAssets(const std::filesystem::path& exeFolder, const std::string& buildAssets);

// The bundled assets of the running executable.
std::string BundledAssetsFolder();

}  // namespace vremo
