// Sound files through the sound bank's slot loader, decoded for the mixer.

#include "display/offline_renderer.h"
#include "display/sound_bank.h"
#include "fuzz/fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vremo::OfflineRenderer renderer;
  vremo::MixerSoundBank bank(renderer);
  bank.BeginLoad();
  bank.LoadSound(1, vremo::fuzz::WriteInput(data, size, "fuzz.wav"));
  return 0;
}
