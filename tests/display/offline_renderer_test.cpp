// The offline renderer: voices placed at the exact sample of their clock time,
// late starts, the tail, and the written file.
#include "display/offline_renderer.h"

#include <gtest/gtest.h>

#include "display/sound_bank.h"
#include "display/wav_writer.h"
#include "tests/display/sound_test_files.h"

namespace vremo {
namespace {

using test::TempFolder;

constexpr int32_t kRate = 44100;

// A click: one full-scale frame followed by silence.
std::shared_ptr<const SoundData> Click(int64_t frames = 100) {
  auto sound = std::make_shared<SoundData>();
  sound->frames = frames;
  sound->samples.assign(static_cast<size_t>(frames + 1) * 2, 0.0f);
  sound->samples[0] = 1.0f;
  sound->samples[1] = 1.0f;
  sound->sampleRate = kRate;
  sound->fileChannels = 2;
  return sound;
}

int64_t FirstSoundingFrame(const OfflineRenderer& renderer, int64_t from = 0) {
  const auto& s = renderer.samples();
  for (size_t i = static_cast<size_t>(from) * 2; i < s.size(); i += 2) {
    if (s[i] != 0.0f) return static_cast<int64_t>(i / 2);
  }
  return -1;
}

TEST(OfflineRendererTest, AClickAtOneSecondStartsAtSample44100Exactly) {
  OfflineRenderer renderer;
  EXPECT_EQ(renderer.sampleRate(), kOfflineSampleRate);
  EXPECT_EQ(renderer.FrameAt(-5.0), 0);
  EXPECT_EQ(renderer.FrameAt(0.01), 0);
  EXPECT_EQ(renderer.FrameAt(0.02), 1);
  renderer.AdvanceTo(990.0);  // the engine's previous pass
  renderer.StartVoice(4, Click(), kRate, 1000.0);
  renderer.AdvanceTo(1016.0);  // the pass that noticed the click, 16 ms later
  EXPECT_EQ(renderer.mixedFrames(), renderer.FrameAt(1016.0));
  EXPECT_EQ(renderer.renderedFrames(), renderer.FrameAt(1016.0) - renderer.latencyFrames());
  EXPECT_EQ(FirstSoundingFrame(renderer), 44100);
  EXPECT_FLOAT_EQ(renderer.samples()[44100 * 2], kMixHeadroom);
  EXPECT_EQ(renderer.samples()[44099 * 2], 0.0f);
  // The WAV file holds the rendered frames.
  TempFolder dir;
  ASSERT_TRUE(renderer.WriteWav(dir.Path("out.wav")));
  const std::vector<uint8_t> expected = EncodeWav16(renderer.samples().data(), renderer.renderedFrames(), kRate);
  EXPECT_EQ(dir.Read("out.wav"), std::string(expected.begin(), expected.end()));
}

// Starts queued out of order play in time order; an untimed command follows
// the latest queued time; commands at the target apply before AdvanceTo ends;
// a late start begins at once where the sound would be.
TEST(OfflineRendererTest, CommandsTakeEffectInTimeOrder) {
  OfflineRenderer renderer;
  renderer.StartVoice(1, Click(), kRate, 20.0);
  renderer.StartVoice(2, Click(), kRate, 10.0);
  renderer.AdvanceTo(30.0);
  EXPECT_EQ(FirstSoundingFrame(renderer), 441);
  EXPECT_EQ(FirstSoundingFrame(renderer, 442), 882);
  renderer.StartVoice(3, Click(kRate), kRate, 100.0);
  renderer.AdvanceTo(100.0);
  EXPECT_EQ(renderer.mixedFrames(), 4410);
  EXPECT_TRUE(renderer.AnySounding());
  EXPECT_EQ(renderer.VoiceCursorFrames(3), 0);
  renderer.AdvanceTo(110.0);
  EXPECT_EQ(renderer.VoiceCursorFrames(3), 441);

  OfflineRenderer untimed;
  untimed.StartVoice(1, Click(kRate), kRate, 100.0);
  untimed.StopVoice(1);  // at 100 ms, after the start: slot 1 never sounds
  untimed.StartVoice(2, Click(kRate), kRate, 50.0);
  untimed.AdvanceTo(200.0);
  EXPECT_EQ(FirstSoundingFrame(untimed), 2205);
  EXPECT_EQ(FirstSoundingFrame(untimed, 2206), -1);
  EXPECT_FALSE(untimed.VoiceCursorFrames(1));
  EXPECT_EQ(untimed.VoiceCursorFrames(2), 8820 - 2205);

  auto ramp = std::make_shared<SoundData>();
  ramp->frames = 10000;
  ramp->samples.resize(2 * 10001, 0.0f);
  for (int i = 0; i < 2 * 10000; ++i) ramp->samples[i] = (i / 2) / 20000.0f;
  ramp->sampleRate = kRate;
  OfflineRenderer late;
  late.AdvanceTo(100.0);                  // 4410 frames already mixed
  late.StartVoice(0, ramp, kRate, 90.0);  // belongs 441 frames back
  late.AdvanceTo(110.0);
  EXPECT_EQ(late.samples()[4409 * 2], 0.0f) << "the past is not rewritten";
  EXPECT_FLOAT_EQ(late.samples()[4410 * 2], 441 / 20000.0f * kMixHeadroom);
}

TEST(OfflineRendererTest, RenderTailRunsUntilSilence) {
  OfflineRenderer renderer;
  renderer.StartVoice(1, Click(5000), kRate, 0.0);
  renderer.AdvanceTo(10.0);
  EXPECT_TRUE(renderer.RenderTail(10000.0));
  EXPECT_FALSE(renderer.AnySounding());
  EXPECT_GE(renderer.renderedFrames(), 5000);
  EXPECT_LE(renderer.renderedFrames(), 5000 + kMixerMaxBlock + renderer.latencyFrames());
  EXPECT_EQ(renderer.renderedFrames(), renderer.mixedFrames() - renderer.latencyFrames());

  renderer.StartVoice(2, Click(kRate * 10), kRate, 0.0);
  EXPECT_FALSE(renderer.RenderTail(100.0)) << "gives up at the limit";
}

TEST(OfflineRendererTest, AStreamingRenderHandsOnTheSameFramesAndHoldsOneBlock) {
  OfflineRenderer kept;
  OfflineRenderer streamed;
  std::vector<float> handed;
  size_t mostHeld = 0;
  streamed.StreamTo(
      [&handed](const float* samples, int64_t frames) { handed.insert(handed.end(), samples, samples + frames * 2); });
  for (OfflineRenderer* renderer : {&kept, &streamed}) {
    for (int clock = 0; clock <= 20000; clock += 5) {
      if (clock % 250 == 0) renderer->StartVoice(clock / 250 % kMixerVoices, Click(2000), kRate, clock + 1.5);
      renderer->AdvanceTo(clock);
      mostHeld = std::max(mostHeld, streamed.samples().size());
    }
    renderer->RenderTail(1000.0);
  }
  EXPECT_EQ(streamed.renderedFrames(), kept.renderedFrames());
  EXPECT_TRUE(streamed.samples().empty());
  EXPECT_EQ(handed, kept.samples());
  EXPECT_LT(mostHeld, static_cast<size_t>(kStreamBlockFrames + kRate / 100) * 2);
}

}  // namespace
}  // namespace vremo
