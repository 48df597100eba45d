// Layout files (*.vrd), read into a fresh layout and media layer.

#include "display/layout.h"
#include "display/media_layer.h"
#include "fuzz/fuzz_file.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vremo::fuzz::StartGuiApplication();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vremo::DebugLog log;
  vremo::MediaLayer media(log);
  media.InitDirectDraw();
  vremo::Layout layout;
  vremo::LayoutContext context{log, media, {true, true}, {}};
  vremo::LoadRect(vremo::fuzz::WriteInput(data, size, "fuzz.vrd"), layout, context);
  return 0;
}
