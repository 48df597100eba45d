// The mixer alone: resampling, stopping at the end, commands, headroom and the
// limiter under 256 full-scale voices.
#include "display/mixer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace vremo {
namespace {

constexpr int32_t kRate = 44100;

std::shared_ptr<SoundData> MakeSound(const std::vector<float>& stereo, int32_t rate) {
  auto sound = std::make_shared<SoundData>();
  sound->samples = stereo;
  sound->frames = static_cast<int64_t>(stereo.size() / 2);
  sound->samples.resize(stereo.size() + 2, 0.0f);
  sound->sampleRate = rate;
  sound->fileChannels = 2;
  return sound;
}

std::shared_ptr<SoundData> ConstantSound(int64_t frames, float value, int32_t rate = kRate) {
  return MakeSound(std::vector<float>(static_cast<size_t>(frames * 2), value), rate);
}

MixerCommand Start(int slot, const SoundData& sound, double rate = 0.0) {
  return {.kind = MixerCommand::Kind::kStart, .slot = static_cast<int16_t>(slot), .sound = &sound, .rate = rate};
}

std::vector<float> Render(Mixer& mixer, int64_t frames) {
  std::vector<float> out(static_cast<size_t>(frames * 2), 123.0f);
  mixer.Render(out.data(), frames);
  return out;
}

// The next `frames` frames as heard: the look-ahead delay taken out.
std::vector<float> RenderHeard(Mixer& mixer, int64_t frames) {
  std::vector<float> out = Render(mixer, frames + mixer.latencyFrames());
  out.erase(out.begin(), out.begin() + 2 * mixer.latencyFrames());
  return out;
}

int64_t NonZeroFrames(const std::vector<float>& out) {
  int64_t count = 0;
  for (size_t i = 0; i < out.size(); i += 2) count += out[i] != 0.0f || out[i + 1] != 0.0f;
  return count;
}

TEST(MixerTest, TheLookAheadDelaysTheOutputByAMillisecond) {
  EXPECT_EQ(Mixer(44100).latencyFrames(), 44);
  EXPECT_EQ(Mixer(48000).latencyFrames(), 48);
  const auto sound = ConstantSound(10, 0.5f);
  Mixer mixer(kRate);
  EXPECT_EQ(NonZeroFrames(Render(mixer, 3000)), 0) << "silent without voices";
  mixer.Apply(Start(0, *sound));
  const auto out = Render(mixer, 100);
  EXPECT_EQ(out[2 * 43], 0.0f);
  EXPECT_EQ(out[2 * 44], 0.25f);
  EXPECT_EQ(out[2 * 53], 0.25f);
  EXPECT_EQ(out[2 * 54], 0.0f);
}

TEST(MixerTest, AVoiceAtTheOutputRatePlaysItsFramesWithHeadroom) {
  std::vector<float> stereo;  // 100 frames of two ramps
  for (int i = 0; i < 200; ++i) stereo.push_back(i % 2 == 0 ? 0.01f * (i / 2) : -0.005f * (i / 2));
  const auto sound = MakeSound(stereo, kRate);
  Mixer mixer(kRate);
  mixer.Apply(Start(3, *sound));
  EXPECT_TRUE(mixer.IsSounding(3));
  const auto out = RenderHeard(mixer, 150);
  for (int i = 0; i < 300; ++i) EXPECT_FLOAT_EQ(out[i], i < 200 ? stereo[i] * kMixHeadroom : 0.0f) << i;
  EXPECT_FALSE(mixer.IsSounding(3));
  EXPECT_EQ(mixer.CursorFrames(3), 0);
}

// Another rate is resampled with linear interpolation, also when the rate
// changes while playing.
TEST(MixerTest, RatesAreResampledBetweenFrames) {
  const auto half = ConstantSound(1000, 0.5f, 22050);
  Mixer mixer(kRate);
  mixer.Apply(Start(0, *half));
  EXPECT_EQ(NonZeroFrames(Render(mixer, 5000)), 2000);

  const auto peak = MakeSound({0.0f, 0.0f, 0.8f, 0.8f, 0.0f, 0.0f}, kRate);
  mixer.Apply(Start(0, *peak, kRate / 2.0));
  const auto out = RenderHeard(mixer, 6);
  EXPECT_FLOAT_EQ(out[0], 0.0f);
  EXPECT_FLOAT_EQ(out[2], 0.4f * kMixHeadroom);
  EXPECT_FLOAT_EQ(out[4], 0.8f * kMixHeadroom);
  EXPECT_FLOAT_EQ(out[6], 0.4f * kMixHeadroom);

  const auto sound = ConstantSound(10000, 0.1f);
  mixer.Apply(Start(1, *sound));
  Render(mixer, 1000);
  mixer.Apply({.kind = MixerCommand::Kind::kSetRate, .slot = 1, .rate = 3.0 * kRate});
  Render(mixer, 1000);
  EXPECT_EQ(mixer.CursorFrames(1), 4000);
}

TEST(MixerTest, StopAllAndMasterVolumeAndInvalidSlots) {
  const auto sound = ConstantSound(10000, 0.1f);
  Mixer mixer(kRate);
  mixer.Apply(Start(-1, *sound));
  mixer.Apply(Start(256, *sound));
  EXPECT_EQ(mixer.SoundingCount(), 0);
  EXPECT_EQ(mixer.CursorFrames(-1), 0);
  EXPECT_EQ(mixer.CursorFrames(999), 0);
  for (int slot = 0; slot < kMixerVoices; slot += 5) mixer.Apply(Start(slot, *sound));
  EXPECT_EQ(mixer.SoundingCount(), 52);
  mixer.Apply({.kind = MixerCommand::Kind::kStopAll});
  EXPECT_EQ(mixer.SoundingCount(), 0);

  // A master volume change glides over the first block, then holds.
  const auto half = ConstantSound(20000, 0.5f);
  Mixer master(kRate);
  master.Apply({.kind = MixerCommand::Kind::kSetMasterVolume, .rate = 0.5});
  master.Apply(Start(0, *half));
  const auto out = Render(master, 4000);
  EXPECT_FLOAT_EQ(out[2 * 3000], 0.5f * kMixHeadroom * 0.5f);
}

// Full-scale voices all in phase: the sum is 256 times full scale. Checks the
// limiter both where it must act hard and at the onset.
TEST(MixerTest, TwoHundredFiftySixFullScaleVoicesNeverClipOrCrackle) {
  constexpr int kFrames = kRate;
  std::vector<float> stereo;
  for (int i = 0; i < kFrames; ++i) {
    stereo.push_back(std::sin(2.0f * static_cast<float>(M_PI) * 220.0f * i / kRate));
    stereo.push_back(i % 2 == 0 ? 1.0f : -1.0f);  // the harshest: full-scale Nyquist on the right
  }
  const auto loud = MakeSound(stereo, kRate);
  Mixer mixer(kRate);
  // A quiet lead-in, so the limiter starts relaxed.
  const auto quiet = ConstantSound(kFrames * 2, 0.01f);
  mixer.Apply(Start(0, *quiet));
  Render(mixer, 1000);
  for (int slot = 1; slot < kMixerVoices; ++slot) mixer.Apply(Start(slot, *loud));
  const auto out = Render(mixer, kFrames);
  float peak = 0.0f;
  for (float sample : out) {
    ASSERT_TRUE(std::isfinite(sample));
    peak = std::max(peak, std::fabs(sample));
  }
  EXPECT_LE(peak, kLimiterCeiling + 1e-6f);
  EXPECT_GT(peak, 0.5f) << "limited, not silenced";
  // After the attack the left channel is a clean sine: at most 2 pi 220 /
  // 44100 = 0.031 a frame, where a hard-clipped one jumps by about 2. From
  // the onset on, no sample sits flat at the ceiling the way clipping would.
  float largestLeftStep = 0.0f;
  int longestFlat = 0;
  for (size_t i = 2, flat = 0; i < out.size(); i += 2) {
    if (i >= 2 * 220 + 2) largestLeftStep = std::max(largestLeftStep, std::fabs(out[i] - out[i - 2]));
    flat = std::fabs(out[i]) >= kLimiterCeiling - 1e-4f && out[i] == out[i - 2] ? flat + 1 : 0;
    longestFlat = std::max(longestFlat, static_cast<int>(flat));
  }
  EXPECT_LT(largestLeftStep, 0.035f);
  EXPECT_LT(longestFlat, 3);
  EXPECT_LT(mixer.limiterGain(), 0.01f);
  // When the loud voices end, the gain recovers smoothly towards 1.
  Render(mixer, kRate / 2);
  EXPECT_GT(mixer.limiterGain(), 0.99f);
}

}  // namespace
}  // namespace vremo
