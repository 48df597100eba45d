// Settings files (vremo.ini).

#include "fuzz/fuzz_file.h"
#include "shell/settings_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vremo::DebugLog log;
  vremo::Settings settings = vremo::UnsetSettings();
  vremo::ReadSettings(vremo::fuzz::WriteInput(data, size, std::string(vremo::kSettingsFileName)), settings, log);
  return 0;
}
