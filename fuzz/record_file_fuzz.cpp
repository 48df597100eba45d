// Play-record files (*.vpd). The chart takes the file's own BMS-ID so that
// the body is read, not only the wrong-chart check.

#include <cstring>

#include "fuzz/fuzz_file.h"
#include "shell/record_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vremo::RecordChart chart;
  if (size >= sizeof(chart.bmsId)) std::memcpy(&chart.bmsId, data, sizeof(chart.bmsId));
  vremo::DebugLog log;
  vremo::PlayRecord record;
  vremo::LoadRecord(vremo::fuzz::WriteInput(data, size, "fuzz.vpd"), chart, record, log);
  return 0;
}
