// BMS text through the library's chart reading: the byte scan that picks the
// reading, then the reader it picked.

#include "fuzz/fuzz_file.h"
#include "library/chart_facts.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static vremo::ChartFactsReader reader;  // reused, as a scan's worker does
  std::string error;
  reader.Read(vremo::fuzz::WriteInput(data, size, "fuzz.bme"), &error);
  return 0;
}
