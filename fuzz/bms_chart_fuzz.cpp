// BMS text through the whole load: reader and compiler, no media.

#include <memory>

#include "chart/bms_reader.h"
#include "fuzz/fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto chart = std::make_unique<vremo::Chart>();
  vremo::DebugLog log;
  vremo::NullMediaLoader media;
  vremo::LoadContext context{log, media, {}, {}};
  vremo::LoadChart(vremo::fuzz::WriteInput(data, size, "fuzz.bms"), *chart, context);
  return 0;
}
