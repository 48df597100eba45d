// MixerSoundBank over the offline renderer: loading slots from real files,
// name resolution, bad files, restart, frequency, cursor and release.
#include "display/sound_bank.h"

#include <gtest/gtest.h>

#include <array>

#include "display/offline_renderer.h"
#include "display/sound_decoder.h"
#include "tests/display/sound_test_files.h"

namespace vremo {
namespace {

constexpr int32_t kRate = 44100;

class SoundBankTest : public ::testing::Test {
 protected:
  // A float WAV of `frames` frames at a constant level.
  std::string WriteLevel(const std::string& name, int64_t frames, float level = 0.5f, int32_t rate = kRate) {
    EXPECT_TRUE(
        test::WriteSound(dir_.Path(name), SF_FORMAT_WAV | SF_FORMAT_FLOAT, rate, 2, test::Level(frames, 2, level)));
    return dir_.Path(name);
  }
  // Frames of the render that are not silent, from `from` on.
  int64_t SoundingFrames(int64_t from = 0) const {
    int64_t count = 0;
    const auto& s = renderer_.samples();
    for (size_t i = static_cast<size_t>(from) * 2; i < s.size(); i += 2) count += s[i] != 0.0f;
    return count;
  }
  // Whether the slot holds a sound, its base frequency and length in bytes.
  std::array<int32_t, 3> Slot(int slot) const {
    return {bank_.HasSound(slot), bank_.BaseFrequency(slot), bank_.LengthBytes(slot)};
  }
  float LeftAt(int64_t frame) const { return renderer_.samples()[static_cast<size_t>(frame) * 2]; }

  test::TempFolder dir_;
  OfflineRenderer renderer_;
  MixerSoundBank bank_{renderer_};
};

// Names resolve ignoring case and the extension; lengths are bytes of
// 16-bit stereo whatever the file holds.
TEST_F(SoundBankTest, LoadFindsTheFileOrLeavesTheSlotAsItWas) {
  ASSERT_TRUE(test::WriteSound(dir_.Path("mono8.WAV"), SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 22050, 1,
                               test::Level(1234, 1, 0.25f)));
  ASSERT_TRUE(test::WriteSound(dir_.Path("Kick.OGG"), SF_FORMAT_OGG | SF_FORMAT_VORBIS, kRate, 2,
                               test::Sine(4410, 2, kRate, 100.0)));
  const SoundLoadResult result = bank_.LoadSound(0x1f, dir_.Path("MONO8.wav"));
  EXPECT_TRUE(result.loaded);
  EXPECT_EQ(result.baseFrequency, 22050);
  EXPECT_EQ(result.sizeBytes, 1234.0f * 4);
  EXPECT_EQ(Slot(0x1f), (std::array{1, 22050, 1234 * 4}));
  EXPECT_EQ(bank_.PlayCursor(0x1f), 0);
  EXPECT_FALSE(bank_.HasSound(0x20));
  EXPECT_TRUE(bank_.LoadSound(4, dir_.Path("kick.wav")).loaded);
  EXPECT_EQ(bank_.Sound(4)->frames, 4410);

  // Bad files and slots leave the slot as it was.
  dir_.Write("empty.wav", "");
  dir_.Write("text.ogg", "not a sound");
  const std::string good = WriteLevel("good.wav", 100);
  EXPECT_FALSE(bank_.LoadSound(1, dir_.Path("missing.wav")).loaded);
  EXPECT_FALSE(bank_.LoadSound(2, dir_.Path("empty.wav")).loaded);
  EXPECT_FALSE(bank_.LoadSound(3, dir_.Path("text.ogg")).loaded);
  EXPECT_FALSE(bank_.LoadSound(-1, good).loaded);
  EXPECT_FALSE(bank_.LoadSound(256, good).loaded);
  for (int slot : {1, 2, 3, -1, 256}) {
    EXPECT_EQ(Slot(slot), (std::array{0, 0, 0})) << slot;
    bank_.Restart(slot, 0.0);  // ignored
  }
  // A failed load keeps the slot's earlier sound.
  ASSERT_TRUE(bank_.LoadSound(9, good).loaded);
  EXPECT_FALSE(bank_.LoadSound(9, dir_.Path("missing.wav")).loaded);
  EXPECT_EQ(Slot(9), (std::array{1, kRate, 400}));
  bank_.Stop(-3);
  bank_.SetFrequency(1000, 44100);
  EXPECT_EQ(bank_.PlayCursor(256), 0);
  renderer_.AdvanceTo(100.0);
  EXPECT_EQ(SoundingFrames(), 0);
}

// A later load stops the slot's play and resets its frequency.
TEST_F(SoundBankTest, ALaterLoadReplacesThePlayingSound) {
  ASSERT_TRUE(bank_.LoadSound(5, WriteLevel("a.wav", kRate)).loaded);
  bank_.Restart(5, 0.0);
  renderer_.AdvanceTo(100.0);
  bank_.SetSoundFrequency(5, 88200);
  ASSERT_TRUE(bank_.LoadSound(5, WriteLevel("b.wav", 300, 0.5f, 22050)).loaded);
  renderer_.AdvanceTo(500.0);
  EXPECT_EQ(SoundingFrames(), 4410);
  EXPECT_EQ(Slot(5), (std::array{1, 22050, 1200}));
  bank_.Restart(5, 500.0);
  renderer_.AdvanceTo(600.0);
  EXPECT_EQ(SoundingFrames(renderer_.FrameAt(500.0)), 600) << "played at its own 22050 Hz";
}

TEST_F(SoundBankTest, RestartCutsThePreviousPlayOfTheSlot) {
  ASSERT_TRUE(bank_.LoadSound(7, WriteLevel("one_second.wav", kRate, 0.5f)).loaded);
  bank_.Restart(7, 0.0);
  bank_.Restart(7, 500.0);
  renderer_.AdvanceTo(2000.0);
  // One voice: never two plays summed, and the sound ends 1 s after the restart.
  for (int64_t frame : {22049, 22050, 66149}) EXPECT_FLOAT_EQ(LeftAt(frame), 0.5f * kMixHeadroom);
  EXPECT_EQ(LeftAt(66150), 0.0f);
  EXPECT_EQ(SoundingFrames(), 66150);
}

TEST_F(SoundBankTest, FrequencyScalesTheDurationWithinItsRange) {
  ASSERT_TRUE(bank_.LoadSound(2, WriteLevel("s.wav", 8820)).loaded);
  for (int32_t refused : {0, -5, 2000000}) bank_.SetFrequency(2, refused);
  bank_.Restart(2, 0.0);
  renderer_.AdvanceTo(1000.0);
  EXPECT_EQ(SoundingFrames(), 8820);

  bank_.SetFrequency(2, 2 * bank_.BaseFrequency(2));
  bank_.Restart(2, 1000.0);
  renderer_.AdvanceTo(2000.0);
  EXPECT_EQ(SoundingFrames(44100), 4410);
  bank_.SetFrequency(2, bank_.BaseFrequency(2) / 2);
  bank_.Restart(2, 2000.0);
  renderer_.AdvanceTo(3000.0);
  EXPECT_EQ(SoundingFrames(88200), 17640);
}

TEST_F(SoundBankTest, PlayCursorFollowsThePlayAndRewind) {
  ASSERT_TRUE(bank_.LoadSound(0xff, WriteLevel("s.wav", kRate)).loaded);
  bank_.Restart(0xff, 0.0);
  renderer_.AdvanceTo(100.0);
  EXPECT_EQ(bank_.PlayCursor(0xff), 4410 * 4);
  renderer_.AdvanceTo(250.0);
  EXPECT_EQ(bank_.PlayCursor(0xff), 11025 * 4);
  bank_.Rewind(0xff);
  renderer_.AdvanceTo(350.0);
  EXPECT_EQ(bank_.PlayCursor(0xff), 4410 * 4) << "rewound to the top";
  bank_.Stop(0xff);
  renderer_.AdvanceTo(360.0);
  EXPECT_EQ(bank_.PlayCursor(0xff), 0);
  bank_.Restart(0xff, 400.0);
  renderer_.AdvanceTo(1500.0);
  EXPECT_EQ(bank_.PlayCursor(0xff), 0) << "played to its end";
}

// Shared decoding under a budget, through the sound-only loader (which loads
// no pictures); ReleaseSounds then empties every slot at once.
TEST_F(SoundBankTest, OneFileForManySlotsIsDecodedOnceAndTheDecodedTotalIsCapped) {
  constexpr int64_t kFrames = 50000;  // 400 KB decoded
  WriteLevel("a.wav", kFrames, 0.25f);
  WriteLevel("b.wav", kFrames);
  const std::string c = WriteLevel("c.wav", kFrames);
  MemoryLogSink sink;
  DebugLog log(&sink);
  MixerSoundBank bank(renderer_, &log, int64_t{1} << 20);
  SoundOnlyMediaLoader loader(bank);
  MediaLoader& media = loader;
  media.PrepareSurfaces();
  for (int slot = 0; slot < kMixerVoices - 2; ++slot) {
    const SoundLoadResult result = media.LoadSound(slot, dir_.Path("A.WAV"));
    ASSERT_TRUE(result.loaded && result.baseFrequency == kRate) << slot;
  }
  EXPECT_EQ(bank.Sound(0), bank.Sound(kMixerVoices - 3));
  EXPECT_EQ(bank.DecodedBytesHeld(), DecodedBytes(kFrames));
  EXPECT_FALSE(media.LoadPicture(1, c, true).loaded);
  EXPECT_EQ(media.FreeVideoMemory(), 0);
  // The slots still sound as voices of their own: two plays add up, each at
  // its own frequency.
  media.SetSoundFrequency(1, 2 * kRate);
  bank.Restart(0, 0.0);
  bank.Restart(1, 10.0);
  renderer_.AdvanceTo(20.0);
  EXPECT_FLOAT_EQ(LeftAt(100), 0.25f * kMixHeadroom);
  EXPECT_FLOAT_EQ(LeftAt(600), 0.5f * kMixHeadroom);
  EXPECT_EQ(bank.PlayCursor(1), 882 * 4);

  EXPECT_TRUE(media.LoadSound(kMixerVoices - 2, dir_.Path("b.wav")).loaded);
  EXPECT_FALSE(media.LoadSound(kMixerVoices - 1, c).loaded);
  EXPECT_FALSE(bank.HasSound(kMixerVoices - 1));
  EXPECT_EQ(sink.lines, std::vector<std::string>{"  Err: decoded sounds would pass 1MB, not loaded: " + c});
  // A slot's own sound does not count against its replacement.
  EXPECT_TRUE(media.LoadSound(kMixerVoices - 2, c).loaded);
  EXPECT_EQ(bank.DecodedBytesHeld(), 2 * DecodedBytes(kFrames));

  bank.ReleaseSounds();
  renderer_.AdvanceTo(30.0);
  for (int slot = 0; slot < 256; ++slot) EXPECT_FALSE(bank.HasSound(slot));
  EXPECT_FALSE(renderer_.AnySounding());
  EXPECT_EQ(SoundingFrames(renderer_.FrameAt(20.0)), 0);
  EXPECT_EQ(bank.DecodedBytesHeld(), 0);
}

// Base-36 names ("ZZ" is slot 1295) reach the mixer once a chart asks for
// them; a classic chart afterwards has 256 slots again.
TEST_F(SoundBankTest, Base36SlotsPlayOnlyWhileTheChartNamesThem) {
  const std::string a = WriteLevel("a.wav", 4410);
  SoundOnlyMediaLoader loader(bank_);
  MediaLoader& media = loader;
  EXPECT_FALSE(media.LoadSound(kMaxMixerVoices - 1, a).loaded);
  media.SetSlotCount(kMaxMixerVoices);
  ASSERT_TRUE(media.LoadSound(kMaxMixerVoices - 1, a).loaded);
  bank_.Restart(kMaxMixerVoices - 1, 0.0);
  renderer_.AdvanceTo(50.0);
  EXPECT_FLOAT_EQ(LeftAt(100), 0.5f * kMixHeadroom);
  EXPECT_EQ(bank_.PlayCursor(kMaxMixerVoices - 1), 2205 * 4);

  media.SetSlotCount(kMixerVoices);
  renderer_.AdvanceTo(60.0);
  EXPECT_FALSE(bank_.HasSound(kMaxMixerVoices - 1));
  EXPECT_FALSE(renderer_.AnySounding());
  EXPECT_FALSE(media.LoadSound(kMixerVoices, a).loaded);
}

}  // namespace
}  // namespace vremo
