// Picture files through the media layer's picture-slot loader (BGA slot and
// the measuring load of the play list's preview).

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
  media.PrepareSurfaces();
  const std::string path = vremo::fuzz::WriteInput(data, size, "fuzz.bmp");
  media.LoadPicture(1, path, false);
  media.LoadPicture(2, path, true);
  return 0;
}
