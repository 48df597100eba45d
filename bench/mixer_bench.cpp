// The mixer's cost per audio block: 256 sounding voices, 512-frame blocks at
// 48 kHz (10.67 ms of sound each). Target: below 10 % of the block's duration,
// i.e. under about 1.07 ms a block.
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

#include "display/mixer.h"

namespace vremo {
namespace {

constexpr int32_t kOutputRate = 48000;
constexpr int kBlockFrames = 512;

// A ten-second stereo sound at `rate`, so no voice ends during the run.
std::shared_ptr<SoundData> LongSound(int32_t rate, double hz) {
  auto sound = std::make_shared<SoundData>();
  sound->frames = static_cast<int64_t>(rate) * 10;
  sound->sampleRate = rate;
  sound->fileChannels = 2;
  sound->samples.resize(static_cast<size_t>(sound->frames + 1) * 2);
  for (int64_t i = 0; i < sound->frames; ++i) {
    const float s = static_cast<float>(std::sin(2.0 * M_PI * hz * static_cast<double>(i) / rate));
    sound->samples[2 * i] = s;
    sound->samples[2 * i + 1] = -s;
  }
  return sound;
}

// Sounds at 44.1 kHz played at rates around it (a speed factor), all of them
// resampled to 48 kHz: the mixer's ordinary, worst-case work.
void BM_Mix256Voices(benchmark::State& state) {
  std::vector<std::shared_ptr<SoundData>> sounds;
  for (int i = 0; i < 8; ++i) sounds.push_back(LongSound(44100, 110.0 * (i + 1)));
  Mixer mixer(kOutputRate);
  for (int slot = 0; slot < kMixerVoices; ++slot) {
    mixer.Apply({.kind = MixerCommand::Kind::kStart,
                 .slot = static_cast<int16_t>(slot),
                 .sound = sounds[slot % sounds.size()].get(),
                 .rate = 44100.0 * (1.0 + 0.001 * slot)});
  }
  std::vector<float> out(kBlockFrames * 2);
  int64_t blocks = 0;
  for (auto _ : state) {
    mixer.Render(out.data(), kBlockFrames);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
    // Rewind the voices before they run out (the fastest plays 10 s of sound
    // in about 8 s).
    if (++blocks % 400 == 0) {
      for (int slot = 0; slot < kMixerVoices; ++slot) {
        mixer.Apply({.kind = MixerCommand::Kind::kRewind, .slot = static_cast<int16_t>(slot)});
      }
    }
  }
  if (mixer.SoundingCount() != kMixerVoices) state.SkipWithError("voices ended during the run");
  const double blockSeconds = static_cast<double>(kBlockFrames) / kOutputRate;
  state.counters["block_ms"] = blockSeconds * 1000.0;
  state.counters["voices"] = kMixerVoices;
  state.SetItemsProcessed(state.iterations() * kBlockFrames * kMixerVoices);
}
BENCHMARK(BM_Mix256Voices)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vremo

BENCHMARK_MAIN();
