// The WAV writer's bytes and its atomic replacement of the file.
#include "display/wav_writer.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/display/sound_test_files.h"

namespace vremo {
namespace {

using test::TempFolder;

uint32_t Le32(const std::vector<uint8_t>& b, size_t at) {
  return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | static_cast<uint32_t>(b[at + 3]) << 24;
}
uint16_t Le16(const std::vector<uint8_t>& b, size_t at) { return static_cast<uint16_t>(b[at] | b[at + 1] << 8); }
std::string Tag(const std::vector<uint8_t>& b, size_t at) { return std::string(b.begin() + at, b.begin() + at + 4); }

std::string Encoded(const std::vector<float>& samples, int64_t frames) {
  const std::vector<uint8_t> bytes = EncodeWav16(samples.data(), frames, 44100);
  return std::string(bytes.begin(), bytes.end());
}

TEST(WavWriterTest, HeaderFieldsAreThoseOfSixteenBitStereo) {
  const std::vector<float> samples(3 * 2, 0.0f);
  const std::vector<uint8_t> bytes = EncodeWav16(samples.data(), 3, 44100);
  ASSERT_EQ(bytes.size(), 44u + 12u);
  EXPECT_EQ(Tag(bytes, 0), "RIFF");
  EXPECT_EQ(Le32(bytes, 4), 36u + 12u);
  EXPECT_EQ(Tag(bytes, 8), "WAVE");
  EXPECT_EQ(Tag(bytes, 12), "fmt ");
  EXPECT_EQ(Le32(bytes, 16), 16u);
  EXPECT_EQ(Le16(bytes, 20), 1u);  // PCM
  EXPECT_EQ(Le16(bytes, 22), 2u);  // channels
  EXPECT_EQ(Le32(bytes, 24), 44100u);
  EXPECT_EQ(Le32(bytes, 28), 44100u * 4);  // bytes per second
  EXPECT_EQ(Le16(bytes, 32), 4u);          // block align
  EXPECT_EQ(Le16(bytes, 34), 16u);         // bits per sample
  EXPECT_EQ(Tag(bytes, 36), "data");
  EXPECT_EQ(Le32(bytes, 40), 12u);
  // An empty render is a valid file.
  const std::vector<uint8_t> empty = EncodeWav16(nullptr, 0, 44100);
  ASSERT_EQ(empty.size(), 44u);
  EXPECT_EQ(Le32(empty, 4), 36u);
  EXPECT_EQ(Le32(empty, 40), 0u);
}

TEST(WavWriterTest, SamplesAreClampedScaledAndRounded) {
  const std::vector<float> samples = {0.0f, 1.0f, -1.0f, 0.5f, 2.0f, -3.0f, 1.0f / 32767.0f * 0.6f, -0.00001f};
  const std::vector<uint8_t> bytes = EncodeWav16(samples.data(), 4, 22050);
  ASSERT_EQ(bytes.size(), 44u + 16u);
  const int16_t expected[] = {0, 32767, -32767, 16384, 32767, -32767, 1, 0};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(static_cast<int16_t>(Le16(bytes, 44 + 2 * i)), expected[i]) << i;
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
