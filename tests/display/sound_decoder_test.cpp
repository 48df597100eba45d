// DecodeSoundFile on real files of every format libsndfile writes here, and on
// damaged input.
#include "display/sound_decoder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "tests/display/sound_test_files.h"

namespace vremo {
namespace {

using test::TempFolder;

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

class SoundDecoderFormatTest : public ::testing::TestWithParam<FormatCase> {};

TEST_P(SoundDecoderFormatTest, DecodesToTheWrittenSamples) {
  const FormatCase& c = GetParam();
  TempFolder dir;
  const std::vector<float> written = test::Sine(kFrames, 2, kRate, 441.0);
  if (!test::WriteSound(dir.Path(c.file), c.format, kRate, 2, written)) {
    // MP3 is there only where libsndfile was built with it ("where the build has it").
    if (std::string_view(c.name) == "Mp3") GTEST_SKIP() << "this libsndfile has no MP3 encoder";
    FAIL() << "libsndfile cannot write " << c.name;
  }

  std::string error;
  const auto sound = DecodeSoundFile(dir.Path(c.file), &error);
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
  EXPECT_EQ(std::vector<float>(sound->samples.end() - 2, sound->samples.end()), std::vector<float>(2, 0.0f)) << "guard";
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

// Mono is played on both channels; of more channels the first two are
// kept; non-finite and over-range floats are cleaned.
TEST(SoundDecoderTest, EverySoundBecomesCleanStereo) {
  TempFolder dir;
  for (int channels : {1, 3}) {
    const std::vector<float> written = test::Sine(500, channels, kRate, 200.0);
    ASSERT_TRUE(test::WriteSound(dir.Path("c.wav"), SF_FORMAT_WAV | SF_FORMAT_FLOAT, kRate, channels, written));
    const auto sound = DecodeSoundFile(dir.Path("c.wav"));
    ASSERT_NE(sound, nullptr);
    EXPECT_EQ(sound->fileChannels, channels);
    ASSERT_EQ(sound->frames, 500);
    for (int64_t i = 0; i < 500; ++i) {
      EXPECT_EQ(sound->samples[2 * i], written[channels * i]);
      EXPECT_EQ(sound->samples[2 * i + 1], written[channels * i + (channels > 1 ? 1 : 0)]);
    }
  }
  ASSERT_TRUE(test::WriteSound(dir.Path("f.wav"), SF_FORMAT_WAV | SF_FORMAT_FLOAT, kRate, 2,
                               {NAN, INFINITY, 3.0f, -7.0f, 0.25f, -0.25f}));
  const auto sound = DecodeSoundFile(dir.Path("f.wav"));
  ASSERT_NE(sound, nullptr);
  ASSERT_EQ(sound->frames, 3);
  EXPECT_EQ(std::vector<float>(sound->samples.begin(), sound->samples.begin() + 6),
            (std::vector<float>{0.0f, 0.0f, 1.0f, -1.0f, 0.25f, -0.25f}));
}

// Writes a good 16-bit WAV and returns its bytes for damaging.
std::string GoodWavBytes(const TempFolder& dir) {
  EXPECT_TRUE(test::WriteSound(dir.Path("good.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, kRate, 1,
                               test::Sine(kFrames, 1, kRate, 441.0)));
  return dir.Read("good.wav");
}

std::string WithLe32(std::string bytes, std::initializer_list<std::pair<size_t, uint32_t>> fields) {
  for (const auto& [at, value] : fields) {
    for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<char>(value >> (8 * i));
  }
  return bytes;
}

// Each is refused with a reason: a missing file, an empty or foreign one,
// a WAV cut in its data or header, without frames, at rate 0 or above a
// million, a folder, and a FIFO (whose open would block for ever).
TEST(SoundDecoderTest, BadFilesAreRefusedWithAReason) {
  TempFolder dir;
  const std::string good = GoodWavBytes(dir);
  const std::vector<std::pair<std::string, std::string>> files = {
      {"empty.wav", ""},
      {"text.ogg", "this is not an ogg file\n"},
      {"cut.wav", good.substr(0, good.size() / 2)},
      {"head.wav", good.substr(0, 30)},
      {"none.wav", WithLe32(good.substr(0, 44), {{4, 36}, {40, 0}})},
      {"zero.wav", WithLe32(good, {{24, 0}, {28, 0}})},
      {"fast.wav", WithLe32(good, {{24, 1000001}, {28, 2000002}})},
  };
  for (const auto& [name, bytes] : files) dir.Write(name, bytes);
  std::filesystem::create_directory(dir.path() / "folder.wav");
  ASSERT_EQ(::mkfifo(dir.Path("pipe.wav").c_str(), 0600), 0);
  for (const char* name : {"missing.wav", "empty.wav", "text.ogg", "cut.wav", "head.wav", "none.wav", "zero.wav",
                           "fast.wav", "folder.wav", "pipe.wav"}) {
    std::string error;
    EXPECT_EQ(DecodeSoundFile(dir.Path(name), &error), nullptr) << name;
    EXPECT_FALSE(error.empty()) << name;
  }
  // Endless devices would be read until memory runs out.
  for (const char* device : {"/dev/zero", "/dev/urandom"}) {
    std::string error;
    EXPECT_EQ(DecodeSoundFile(device, &error), nullptr);
    EXPECT_EQ(error, "not a regular file");
  }
  // Garbage over the middle of an Ogg stream: refused or bounded, no crash.
  ASSERT_TRUE(test::WriteSound(dir.Path("full.ogg"), SF_FORMAT_OGG | SF_FORMAT_VORBIS, kRate, 2,
                               test::Sine(kRate * 2, 2, kRate, 441.0)));
  std::string ogg = dir.Read("full.ogg");
  std::fill(ogg.begin() + static_cast<long>(ogg.size() / 3), ogg.end(), '\x5a');
  if (const auto sound = DecodeSoundFile(dir.Write("bad.ogg", ogg))) {
    for (float s : sound->samples) ASSERT_TRUE(s >= -1.0f && s <= 1.0f);
  }
  // A sound over its memory budget is refused whole.
  DecodeStatus status = DecodeStatus::kFailed;
  const auto fits = DecodeSoundFile(dir.Path("good.wav"), nullptr, DecodedBytes(kFrames), &status);
  ASSERT_NE(fits, nullptr);
  EXPECT_EQ(status, DecodeStatus::kDecoded);
  EXPECT_EQ(static_cast<int64_t>(fits->samples.size() * sizeof(float)), DecodedBytes(kFrames));
  std::string error;
  EXPECT_EQ(DecodeSoundFile(dir.Path("good.wav"), &error, DecodedBytes(kFrames) - 1, &status), nullptr);
  EXPECT_EQ(status, DecodeStatus::kOverBudget);
  EXPECT_EQ(error, "over the memory budget");
}

}  // namespace
}  // namespace vremo
