// Play-list files (*.vrl).

#include "fuzz/fuzz_file.h"
#include "shell/play_list_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<vremo::ChartListInfo> entries;
  vremo::DecodeListFile(vremo::fuzz::Text(data, size), entries);
  return 0;
}
