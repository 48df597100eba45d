// BMS text through the play list's header-only reader.

#include "chart/bms_reader.h"
#include "fuzz/fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vremo::ReadChartHeader(vremo::fuzz::WriteInput(data, size, "fuzz.bme"));
  return 0;
}
