// vremo: --info and --dump read the chart here and end, and the chart
// library's modes (--library-*) run here too; everything else runs in the
// player library, loaded only then, so that these tool modes never pay for
// mapping and initialising Qt, SDL and the sound decoders.
#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>
#include <vector>

#include "shell/chart_modes.h"
#include "shell/library_modes.h"

namespace {

constexpr const char* kPlayerLibrary = "libvremo_player.so";
constexpr const char* kPlayerEntry = "VremoPlayerMain";
constexpr int kExitPlayerMissing = 70;

using PlayerMain = int (*)(int, char**);

// Beside this executable (the build tree), then the installed library folder.
// Full paths, because a sanitizer that wraps dlopen makes itself the caller
// whose RUNPATH would be searched.
void* OpenPlayer() {
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
  if (!error) {
    for (const std::filesystem::path& candidate :
         {folder / kPlayerLibrary, folder / VREMO_PLAYER_LIBRARY_DIR / kPlayerLibrary}) {
      // A library that is there but does not load is the error to tell.
      if (std::filesystem::exists(candidate, error)) return dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL);
    }
  }
  return dlopen(kPlayerLibrary, RTLD_NOW | RTLD_LOCAL);
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (auto status = vremo::RunLibraryMode(args, std::cout, std::cerr, ::isatty(STDERR_FILENO) == 1)) return *status;
  if (auto status = vremo::RunChartMode(args, std::cout, std::cerr)) return *status;

  void* player = OpenPlayer();
  auto* entry = player != nullptr ? reinterpret_cast<PlayerMain>(dlsym(player, kPlayerEntry)) : nullptr;
  if (entry == nullptr) {
    std::cerr << "vremo: cannot load the player (" << dlerror() << ")\n";
    return kExitPlayerMissing;
  }
  return entry(argc, argv);
}
