// The live device on SDL's dummy driver (no sound card needed), and the
// silent fallback when no device opens.
#include "display/audio_device.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "display/sound_bank.h"
#include "tests/display/sound_test_files.h"
#include "tests/support/file_size_limit.h"

namespace vremo {
namespace {

constexpr const char* kDriverVariable = "SDL_AUDIODRIVER";

// Sets the SDL audio driver for one scope and restores it afterwards.
struct ScopedDriver {
  explicit ScopedDriver(const char* value) : old(::getenv(kDriverVariable) ? ::getenv(kDriverVariable) : "") {
    ::setenv(kDriverVariable, value, 1);
  }
  ~ScopedDriver() { old.empty() ? ::unsetenv(kDriverVariable) : ::setenv(kDriverVariable, old.c_str(), 1); }
  std::string old;
};

// Polls `done` for up to two seconds.
template <typename Done>
bool WaitFor(Done done) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  while (std::chrono::steady_clock::now() < deadline) {
    if (done()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return done();
}

class AudioDeviceTest : public ::testing::Test {
 protected:
  std::string WriteSecond() {
    EXPECT_TRUE(test::WriteSound(dir_.Path("s.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2,
                                 test::Sine(44100, 2, 44100, 440.0)));
    return dir_.Path("s.wav");
  }
  ScopedDriver driver_{"dummy"};
  test::TempFolder dir_;
  MemoryLogSink sink_;
  DebugLog log_{&sink_};
};

// Opening logs the device; a play advances the cursor, Stop resets it, and
// reopening replaces the device with a silent one.
TEST_F(AudioDeviceTest, OpensOnTheDummyDriverAndPlays) {
  AudioDevice device;
  ASSERT_TRUE(device.Open(log_));
  EXPECT_TRUE(device.IsOpen());
  EXPECT_GT(device.sampleRate(), 0);
  EXPECT_GT(device.blockFrames(), 0);
  ASSERT_EQ(sink_.lines.size(), 2u);
  EXPECT_EQ(sink_.lines[0], "initializing directsound...");
  EXPECT_EQ(sink_.lines[1].rfind("  audio device: ", 0), 0u) << sink_.lines[1];
  EXPECT_NE(sink_.lines[1].find(std::to_string(device.sampleRate()) + "Hz"), std::string::npos);
  EXPECT_EQ(device.blockFrames(), kDefaultAudioBufferFrames);
  EXPECT_NE(sink_.lines[1].find("Hz, 256 frames (5.3 ms), latency 304 frames (6.3 ms)"), std::string::npos)
      << sink_.lines[1];
  // The block asked for is a power of two within the offered range.
  EXPECT_EQ(AudioBlockFramesFor(300), 256);
  EXPECT_EQ(AudioBlockFramesFor(96), 64);
  EXPECT_EQ(AudioBlockFramesFor(100), 128);
  EXPECT_EQ(AudioBlockFramesFor(8), kMinAudioBufferFrames);
  EXPECT_EQ(AudioBlockFramesFor(1 << 20), kMaxAudioBufferFrames);

  MixerSoundBank bank(device);
  ASSERT_TRUE(bank.LoadSound(0x10, WriteSecond()).loaded);
  bank.Restart(0x10, 0.0);
  EXPECT_TRUE(WaitFor([&] { return bank.PlayCursor(0x10) > 0; }));
  const int32_t first = bank.PlayCursor(0x10);
  EXPECT_TRUE(WaitFor([&] { return bank.PlayCursor(0x10) > first; }));
  EXPECT_EQ(bank.PlayCursor(0x10) % kSoundBytesPerFrame, 0);
  bank.Stop(0x10);
  EXPECT_TRUE(WaitFor([&] { return bank.PlayCursor(0x10) == 0; }));

  bank.Restart(0x10, 0.0);
  ASSERT_TRUE(device.Open(log_, kDeviceSampleRate, 64));
  EXPECT_EQ(device.blockFrames(), 64);
  EXPECT_EQ(bank.PlayCursor(0x10), 0) << "the new device starts silent";
  bank.Restart(0x10, 0.0);
  EXPECT_TRUE(WaitFor([&] { return bank.PlayCursor(0x10) > 0; }));

  // Releasing and replacing sounds while they play frees them safely.
  const std::string path = WriteSecond();
  for (int round = 0; round < 20; ++round) {
    for (int slot = 0; slot < 256; slot += 15) {
      ASSERT_TRUE(bank.LoadSound(slot, path).loaded);
      bank.Restart(slot, 0.0);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    if (round % 2 == 0) bank.ReleaseSounds();
  }
  bank.ReleaseSounds();
  EXPECT_TRUE(WaitFor([&] {
    for (int slot = 0; slot < 256; ++slot) {
      if (device.VoiceCursorFrames(slot) != 0) return false;
    }
    return true;
  }));
  device.Close();
  EXPECT_FALSE(device.IsOpen());
}

TEST_F(AudioDeviceTest, WithoutADeviceItLogsTheErrorAndGoesOnSilently) {
  ScopedDriver driver("no_such_driver");
  AudioDevice device;
  EXPECT_FALSE(device.Open(log_));
  EXPECT_FALSE(device.IsOpen());
  EXPECT_EQ(sink_.lines, (std::vector<std::string>{"initializing directsound...", "Err:DirectSound Initializing"}));
  MixerSoundBank bank(device);
  const SoundLoadResult result = bank.LoadSound(2, WriteSecond());
  EXPECT_TRUE(result.loaded) << "the play engine still gets its sounds";
  EXPECT_EQ(result.baseFrequency, 44100);
  bank.SetFrequency(2, 48000);
  bank.Restart(2, 0.0);
  bank.Rewind(2);
  EXPECT_EQ(bank.PlayCursor(2), 0);
  bank.Stop(2);
  bank.ReleaseSounds();
  EXPECT_FALSE(bank.HasSound(2));

  // A device lost in play: SDL's disk driver meets a full disk at once.
  const std::string second = WriteSecond();
  ScopedDriver disk("disk");
  ::setenv("SDL_DISKAUDIOFILE", dir_.Path("out.raw").c_str(), 1);
  ::setenv("SDL_DISKAUDIODELAY", "0", 1);
  testing::FileSizeLimit full(4096);
  ASSERT_TRUE(device.Open(log_));
  ASSERT_TRUE(WaitFor([&] { return std::filesystem::file_size(dir_.Path("out.raw")) == 4096; }));
  ASSERT_TRUE(bank.LoadSound(2, second).loaded);
  EXPECT_TRUE(WaitFor([&] {
    bank.Restart(2, 0.0);
    return !device.IsOpen();
  }));
  EXPECT_EQ(sink_.lines.back(), "Err:DirectSound device lost");
  bank.Restart(2, 0.0);
  EXPECT_EQ(bank.PlayCursor(2), 0);
  ::unsetenv("SDL_DISKAUDIOFILE");
  ::unsetenv("SDL_DISKAUDIODELAY");
}

}  // namespace
}  // namespace vremo
