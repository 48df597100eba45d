// BMS text through the whole load, classic and modern: reader and
// compiler, no media.

#include <memory>
#include <string>

#include "chart/bms_reader.h"
#include "fuzz/fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto chart = std::make_unique<vremo::Chart>();
  vremo::DebugLog log;
  vremo::NullMediaLoader media;
  vremo::LoadContext context{log, media, {}, {}};
  const std::string path = vremo::fuzz::WriteInput(data, size, "fuzz.bms");
  vremo::LoadChart(path, *chart, context);
  // And the modern reading, with its draws fixed so that a finding repeats.
  context.options.modernReading = true;
  context.options.seed = 1;
  vremo::LoadChart(path, *chart, context);
  return 0;
}
