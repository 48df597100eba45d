// vremo: --info and --dump read the chart here and end; everything else runs
// in the player library, loaded only then, so that a chart-only tool mode
// never pays for mapping and initialising Qt, SDL and the sound decoders.
#include <dlfcn.h>

#include <iostream>
#include <string>
#include <vector>

#include "shell/chart_modes.h"

namespace {

constexpr const char* kPlayerLibrary = "libvremo_player.so";
constexpr const char* kPlayerEntry = "VremoPlayerMain";
constexpr int kExitPlayerMissing = 70;

using PlayerMain = int (*)(int, char**);

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (auto status = vremo::RunChartMode(args, std::cout, std::cerr)) return *status;

  // Found beside this executable or in the installed library folder (RUNPATH).
  void* player = dlopen(kPlayerLibrary, RTLD_NOW | RTLD_LOCAL);
  auto* entry = player != nullptr ? reinterpret_cast<PlayerMain>(dlsym(player, kPlayerEntry)) : nullptr;
  if (entry == nullptr) {
    std::cerr << "vremo: cannot load the player (" << dlerror() << ")\n";
    return kExitPlayerMissing;
  }
  return entry(argc, argv);
}
