// The mixer's cost per audio block: 256 sounding voices at 48 kHz, in blocks
// of 64, 128, 256 and 512 frames (1.33 to 10.67 ms of sound each). The sound
// device calls it once a block, so what counts is the worst block: target
// under 25 % of the block's duration. Counters: worst_us and mean_us in the
// thread's own CPU time (what the mixer costs, whatever else the machine
// runs), worst_share = worst_us over the block's period, and worst_wall_us
// (which also holds any time the thread was not scheduled). On a shared or
// virtual machine a rare block also pays for others' interrupts and cache
// misses, so p999_us (the 99.9th percentile block, CPU time) is given beside
// the worst.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>
#include <vector>

#include "display/mixer.h"

namespace vremo {
namespace {

constexpr int32_t kOutputRate = 48000;
// Mixed output frames between rewinds: the fastest voice plays 10 s of sound
// in about 8 s.
constexpr int64_t kRewindFrames = 400 * 512;
constexpr size_t kMaxTimedBlocks = 1 << 20;  // blocks kept for the percentile

double ThreadCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

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
  const int blockFrames = static_cast<int>(state.range(0));
  std::vector<float> out(static_cast<size_t>(blockFrames) * 2);
  int64_t framesSinceRewind = 0;
  double worstSeconds = 0.0;
  double worstWallSeconds = 0.0;
  double totalSeconds = 0.0;
  std::vector<double> blockSeconds;
  blockSeconds.reserve(kMaxTimedBlocks);
  for (auto _ : state) {
    const auto wallStart = std::chrono::steady_clock::now();
    const double start = ThreadCpuSeconds();
    mixer.Render(out.data(), blockFrames);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
    const double seconds = ThreadCpuSeconds() - start;
    worstWallSeconds =
        std::max(worstWallSeconds, std::chrono::duration<double>(std::chrono::steady_clock::now() - wallStart).count());
    worstSeconds = std::max(worstSeconds, seconds);
    totalSeconds += seconds;
    if (blockSeconds.size() < kMaxTimedBlocks) blockSeconds.push_back(seconds);
    // Rewind the voices before they run out (between timed blocks, as the
    // device's commands come between callbacks).
    framesSinceRewind += blockFrames;
    if (framesSinceRewind >= kRewindFrames) {
      framesSinceRewind = 0;
      for (int slot = 0; slot < kMixerVoices; ++slot) {
        mixer.Apply({.kind = MixerCommand::Kind::kRewind, .slot = static_cast<int16_t>(slot)});
      }
    }
  }
  if (mixer.SoundingCount() != kMixerVoices) state.SkipWithError("voices ended during the run");
  const double periodSeconds = static_cast<double>(blockFrames) / kOutputRate;
  state.counters["block_ms"] = periodSeconds * 1000.0;
  state.counters["voices"] = kMixerVoices;
  state.counters["worst_us"] = worstSeconds * 1e6;
  state.counters["mean_us"] =
      state.iterations() > 0 ? totalSeconds * 1e6 / static_cast<double>(state.iterations()) : 0.0;
  state.counters["worst_share"] = worstSeconds / periodSeconds;
  if (!blockSeconds.empty()) {
    const auto rank = blockSeconds.begin() + static_cast<std::ptrdiff_t>(blockSeconds.size() * 999 / 1000);
    std::nth_element(blockSeconds.begin(), rank, blockSeconds.end());
    state.counters["p999_us"] = *rank * 1e6;
  }
  state.counters["worst_wall_us"] = worstWallSeconds * 1e6;
  state.SetItemsProcessed(state.iterations() * blockFrames * kMixerVoices);
}
BENCHMARK(BM_Mix256Voices)->Arg(64)->Arg(128)->Arg(256)->Arg(512)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vremo

BENCHMARK_MAIN();
