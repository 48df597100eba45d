// The WAV writer's bytes and its atomic replacement of the file.
#include "display/wav_writer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "tests/display/sound_test_files.h"

namespace vremo {
namespace {

using test::TempFolder;

std::string Encoded(const std::vector<float>& samples, int64_t frames) {
  const std::vector<uint8_t> bytes = EncodeWav16(samples.data(), frames, 44100);
  return std::string(bytes.begin(), bytes.end());
}

// 16-bit stereo PCM at 44100 Hz: 176400 bytes a second, 4 a frame.
TEST(WavWriterTest, HeaderFieldsAreThoseOfSixteenBitStereo) {
  const std::string format("WAVEfmt \x10\0\0\0\x01\0\x02\0\x44\xAC\0\0\x10\xB1\x02\0\x04\0\x10\0data", 32);
  EXPECT_EQ(Encoded(std::vector<float>(3 * 2, 0.0f), 3),
            std::string("RIFF\x30\0\0\0", 8) + format + std::string("\x0C\0\0\0", 4) + std::string(12, '\0'));
  // An empty render is a valid file.
  EXPECT_EQ(Encoded({}, 0), std::string("RIFF\x24\0\0\0", 8) + format + std::string(4, '\0'));
}

TEST(WavWriterTest, SamplesAreClampedScaledAndRounded) {
  const std::vector<float> samples = {0.0f, 1.0f, -1.0f, 0.5f, 2.0f, -3.0f, 1.0f / 32767.0f * 0.6f, -0.00001f};
  const std::vector<uint8_t> bytes = EncodeWav16(samples.data(), 4, 22050);
  ASSERT_EQ(bytes.size(), 44u + 16u);
  std::vector<int16_t> pcm(8);
  std::memcpy(pcm.data(), bytes.data() + 44, 16);
  EXPECT_EQ(pcm, (std::vector<int16_t>{0, 32767, -32767, 16384, 32767, -32767, 1, 0}));
}

// Whole or streamed, the file gets the encoded bytes and no temporary file
// is left; a failed write keeps the file already there.
TEST(WavWriterTest, FilesAreReplacedWholeOrNotAtAll) {
  TempFolder dir;
  const std::vector<float> samples = test::Sine(1000, 2, 44100, 440.0);
  const std::string whole = dir.Write("whole.wav", "old");
  ASSERT_TRUE(WriteWavFile(whole, samples.data(), 1000, 44100));
  EXPECT_EQ(dir.Read("whole.wav"), Encoded(samples, 1000));
  {
    WavFileWriter writer(dir.Path("streamed.wav"), 44100);
    for (int64_t at = 0; at < 1000; at += 300) {
      ASSERT_TRUE(writer.Append(samples.data() + at * 2, std::min<int64_t>(300, 1000 - at)));
    }
    ASSERT_TRUE(writer.Finish());
  }
  EXPECT_EQ(dir.Read("streamed.wav"), Encoded(samples, 1000));

  EXPECT_FALSE(WriteWavFile(dir.Path("no/such/folder/x.wav"), samples.data(), 10, 44100));
  // Too long for the file: refused.
  const std::string kept = dir.Write("kept.wav", "old");
  WavFileWriter writer(kept, 44100, 500);
  EXPECT_TRUE(writer.Append(samples.data(), 400));
  EXPECT_FALSE(writer.Append(samples.data(), 101));
  EXPECT_TRUE(writer.tooLong());
  EXPECT_FALSE(writer.Append(samples.data(), 1));
  EXPECT_FALSE(writer.Finish());
  EXPECT_EQ(dir.Read("kept.wav"), "old");
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir.path())) files += entry.is_regular_file();
  EXPECT_EQ(files, 3);
  EXPECT_FALSE(std::filesystem::exists(dir.path() / "no"));
}

}  // namespace
}  // namespace vremo
