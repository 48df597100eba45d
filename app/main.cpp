// vremo: tool modes first, then the player.
#include <iostream>
#include <string>
#include <vector>

#include "shell/tool_modes.h"

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (auto status = vremo::RunToolMode(args, std::cout, std::cerr)) return *status;
  std::cerr << "vremo: this build has no player window yet; use --info or --dump (see --help)\n";
  return vremo::kExitUsage;
}
