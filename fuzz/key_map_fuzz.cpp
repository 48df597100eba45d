// Key map files (vrkeycnf.dat).

#include "fuzz/fuzz_file.h"
#include "shell/key_map_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vremo::DebugLog log;
  vremo::LoadKeyMap(vremo::fuzz::WriteInput(data, size, std::string(vremo::kKeyMapFileName)), log);
  return 0;
}
