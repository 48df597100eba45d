// DecodeSoundFile on real files of every format libsndfile writes here, and on
// damaged input.
#include "display/sound_decoder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "tests/display/sound_test_files.h"

namespace vremo {
namespace {

using test::TempDir;

constexpr int32_t kRate = 22050;
constexpr int64_t kFrames = 4410;

struct FormatCase {
  const char* name;
  const char* file;
  int format;
  bool lossy;
  double tolerance;     // lossless: largest difference per sample; lossy: RMS difference
  int64_t extraFrames;  // frames the codec may add at the end (block padding)
};

void PrintTo(const FormatCase& c, std::ostream* os) { *os << c.name; }

class SoundDecoderFormatTest : public ::testing::TestWithParam<FormatCase> {};

TEST_P(SoundDecoderFormatTest, DecodesToTheWrittenSamples) {
  const FormatCase& c = GetParam();
  TempDir dir;
  const std::vector<float> written = test::Sine(kFrames, 2, kRate, 441.0);
  if (!test::WriteSound(dir / c.file, c.format, kRate, 2, written)) {
    // MP3 is there only where libsndfile was built with it ("where the build has it").
    if (std::string_view(c.name) == "Mp3") GTEST_SKIP() << "this libsndfile has no MP3 encoder";
    FAIL() << "libsndfile cannot write " << c.name;
  }

  std::string error;
  const auto sound = DecodeSoundFile(dir / c.file, &error);
  ASSERT_NE(sound, nullptr) << error;
  EXPECT_EQ(sound->sampleRate, kRate);
  EXPECT_EQ(sound->fileChannels, 2);
  EXPECT_GE(sound->frames, kFrames);
  EXPECT_LE(sound->frames, kFrames + c.extraFrames);
  ASSERT_EQ(sound->samples.size(), static_cast<size_t>(sound->frames + 1) * 2);
  double worst = 0.0;
  double squares = 0.0;
  for (size_t i = 0; i < written.size(); ++i) {
    const double difference = std::fabs(double{sound->samples[i]} - written[i]);
    worst = std::max(worst, difference);
    squares += difference * difference;
  }
  const double rms = std::sqrt(squares / static_cast<double>(written.size()));
  EXPECT_LE(c.lossy ? rms : worst, c.tolerance) << c.name;
  EXPECT_EQ(sound->samples[sound->frames * 2], 0.0f) << "guard frame";
  EXPECT_EQ(sound->samples[sound->frames * 2 + 1], 0.0f) << "guard frame";
}

INSTANTIATE_TEST_SUITE_P(
    Formats, SoundDecoderFormatTest,
    // ADPCM pads the last block (about 2040 frames a block here).
    ::testing::Values(FormatCase{"Pcm8", "a.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, false, 1.0 / 128, 0},
                      FormatCase{"Pcm16", "a.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, false, 1.0 / 32768, 0},
                      FormatCase{"Pcm24", "a.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, false, 1.0 / 8388608, 0},
                      FormatCase{"Pcm32", "a.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_32, false, 1e-7, 0},
                      FormatCase{"Float", "a.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, false, 0.0, 0},
                      FormatCase{"ImaAdpcm", "a.wav", SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM, true, 0.02, 2048},
                      FormatCase{"MsAdpcm", "a.wav", SF_FORMAT_WAV | SF_FORMAT_MS_ADPCM, true, 0.02, 2048},
                      FormatCase{"OggVorbis", "a.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, true, 0.03, 0},
                      FormatCase{"Flac16", "a.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, false, 1.0 / 32768, 0},
                      FormatCase{"Mp3", "a.mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, true, 0.03, 0}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(SoundDecoderTest, MonoIsPlayedOnBothChannels) {
  TempDir dir;
  const std::vector<float> written = test::Sine(1000, 1, kRate, 300.0);
  ASSERT_TRUE(test::WriteSound(dir / "m.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, kRate, 1, written));
  const auto sound = DecodeSoundFile(dir / "m.wav");
  ASSERT_NE(sound, nullptr);
  EXPECT_EQ(sound->fileChannels, 1);
  ASSERT_EQ(sound->frames, 1000);
  for (int64_t i = 0; i < 1000; ++i) {
    EXPECT_EQ(sound->samples[2 * i], written[i]);
    EXPECT_EQ(sound->samples[2 * i + 1], written[i]);
  }
}

TEST(SoundDecoderTest, MoreThanTwoChannelsKeepTheFirstTwo) {
  TempDir dir;
  const std::vector<float> written = test::Sine(500, 3, kRate, 200.0);
  ASSERT_TRUE(test::WriteSound(dir / "c.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, kRate, 3, written));
  const auto sound = DecodeSoundFile(dir / "c.wav");
  ASSERT_NE(sound, nullptr);
  ASSERT_EQ(sound->frames, 500);
  for (int64_t i = 0; i < 500; ++i) {
    EXPECT_EQ(sound->samples[2 * i], written[3 * i]);
    EXPECT_EQ(sound->samples[2 * i + 1], written[3 * i + 1]);
  }
}

TEST(SoundDecoderTest, NonFiniteAndOverRangeFloatsAreCleaned) {
  TempDir dir;
  std::vector<float> written = {NAN, INFINITY, 3.0f, -7.0f, 0.25f, -0.25f};
  ASSERT_TRUE(test::WriteSound(dir / "f.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, kRate, 2, written));
  const auto sound = DecodeSoundFile(dir / "f.wav");
  ASSERT_NE(sound, nullptr);
  ASSERT_EQ(sound->frames, 3);
  EXPECT_EQ(sound->samples[0], 0.0f);
  EXPECT_EQ(sound->samples[1], 0.0f);
  EXPECT_EQ(sound->samples[2], 1.0f);
  EXPECT_EQ(sound->samples[3], -1.0f);
  EXPECT_EQ(sound->samples[4], 0.25f);
  EXPECT_EQ(sound->samples[5], -0.25f);
}

// Writes a good 16-bit WAV and returns its bytes for damaging.
std::vector<char> GoodWavBytes(const TempDir& dir) {
  EXPECT_TRUE(test::WriteSound(dir / "good.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, kRate, 1,
                               test::Sine(kFrames, 1, kRate, 441.0)));
  return test::ReadBytes(dir / "good.wav");
}

void PutLe32(std::vector<char>& bytes, size_t at, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<char>(value >> (8 * i));
}

class SoundDecoderBadInputTest : public ::testing::Test {
 protected:
  // The decoder refuses the file and says why.
  void ExpectRefused(const std::string& name) {
    std::string error;
    EXPECT_EQ(DecodeSoundFile(dir_ / name, &error), nullptr) << name;
    EXPECT_FALSE(error.empty()) << name;
  }
  TempDir dir_;
};

TEST_F(SoundDecoderBadInputTest, MissingFile) { ExpectRefused("missing.wav"); }

TEST_F(SoundDecoderBadInputTest, EmptyFileNamedWav) {
  test::WriteBytes(dir_ / "empty.wav", {});
  ExpectRefused("empty.wav");
}

TEST_F(SoundDecoderBadInputTest, TextFileNamedOgg) {
  const std::string text = "this is not an ogg file\n";
  test::WriteBytes(dir_ / "text.ogg", std::vector<char>(text.begin(), text.end()));
  ExpectRefused("text.ogg");
}

TEST_F(SoundDecoderBadInputTest, WavCutInItsData) {
  std::vector<char> bytes = GoodWavBytes(dir_);
  bytes.resize(bytes.size() / 2);
  test::WriteBytes(dir_ / "cut.wav", bytes);
  ExpectRefused("cut.wav");
}

TEST_F(SoundDecoderBadInputTest, WavCutInItsHeader) {
  std::vector<char> bytes = GoodWavBytes(dir_);
  bytes.resize(30);
  test::WriteBytes(dir_ / "cut.wav", bytes);
  ExpectRefused("cut.wav");
}

TEST_F(SoundDecoderBadInputTest, WavWithoutFrames) {
  std::vector<char> bytes = GoodWavBytes(dir_);
  bytes.resize(44);
  PutLe32(bytes, 4, 36);
  PutLe32(bytes, 40, 0);
  test::WriteBytes(dir_ / "none.wav", bytes);
  ExpectRefused("none.wav");
}

TEST_F(SoundDecoderBadInputTest, SampleRateZero) {
  std::vector<char> bytes = GoodWavBytes(dir_);
  PutLe32(bytes, 24, 0);
  PutLe32(bytes, 28, 0);
  test::WriteBytes(dir_ / "zero.wav", bytes);
  ExpectRefused("zero.wav");
}

TEST_F(SoundDecoderBadInputTest, SampleRateAboveAMillion) {
  std::vector<char> bytes = GoodWavBytes(dir_);
  PutLe32(bytes, 24, 1000001);
  PutLe32(bytes, 28, 2000002);
  test::WriteBytes(dir_ / "fast.wav", bytes);
  ExpectRefused("fast.wav");
}

TEST_F(SoundDecoderBadInputTest, OggCutInItsStream) {
  ASSERT_TRUE(test::WriteSound(dir_ / "full.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, kRate, 2,
                               test::Sine(kRate * 2, 2, kRate, 441.0)));
  std::vector<char> bytes = test::ReadBytes(dir_ / "full.ogg");
  // Garbage over the middle of the stream.
  std::fill(bytes.begin() + static_cast<long>(bytes.size() / 3), bytes.end(), '\x5a');
  test::WriteBytes(dir_ / "bad.ogg", bytes);
  // Either refused or decoded to something bounded; never a crash.
  const auto sound = DecodeSoundFile(dir_ / "bad.ogg");
  if (sound) {
    for (float s : sound->samples) ASSERT_TRUE(s >= -1.0f && s <= 1.0f);
  }
}

TEST_F(SoundDecoderBadInputTest, AFolder) {
  std::filesystem::create_directory(dir_.path() / "folder.wav");
  ExpectRefused("folder.wav");
}

// A FIFO without a writer would block an open for ever; endless devices
// would be read until memory runs out.
TEST_F(SoundDecoderBadInputTest, FifosAndDevicesAreRefusedWithoutReading) {
  ASSERT_EQ(::mkfifo((dir_ / "pipe.wav").c_str(), 0600), 0);
  ExpectRefused("pipe.wav");
  for (const char* device : {"/dev/zero", "/dev/urandom"}) {
    std::string error;
    EXPECT_EQ(DecodeSoundFile(device, &error), nullptr);
    EXPECT_EQ(error, "not a regular file");
  }
}

TEST_F(SoundDecoderBadInputTest, ASoundOverItsMemoryBudgetIsRefusedWhole) {
  GoodWavBytes(dir_);
  DecodeStatus status = DecodeStatus::kFailed;
  const auto fits = DecodeSoundFile(dir_ / "good.wav", nullptr, DecodedBytes(kFrames), &status);
  ASSERT_NE(fits, nullptr);
  EXPECT_EQ(status, DecodeStatus::kDecoded);
  EXPECT_EQ(static_cast<int64_t>(fits->samples.size() * sizeof(float)), DecodedBytes(kFrames));
  std::string error;
  EXPECT_EQ(DecodeSoundFile(dir_ / "good.wav", &error, DecodedBytes(kFrames) - 1, &status), nullptr);
  EXPECT_EQ(status, DecodeStatus::kOverBudget);
  EXPECT_EQ(error, "over the memory budget");
}

}  // namespace
}  // namespace vremo
