// Scripted input files of render mode.

#include "fuzz/fuzz_file.h"
#include "play/headless_play.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string error;
  vremo::ParseKeyScript(vremo::fuzz::Text(data, size), error);
  return 0;
}
