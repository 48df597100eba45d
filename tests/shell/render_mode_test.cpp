#include "shell/render_mode.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "chart/bms_reader.h"
#include "display/wav_writer.h"
#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using testing::Crlf;
using testing::TempFolder;

constexpr int kRate = 44100;

// A 2 ms full-scale click.
void WriteClick(const std::string& path) {
  std::vector<float> frames(kRate * 2 / 1000 * 2);
  for (size_t i = 0; i < frames.size(); ++i) frames[i] = i / 2 % 2 == 0 ? 0.9f : -0.9f;
  WriteWavFile(path, frames.data(), static_cast<int64_t>(frames.size() / 2), kRate);
}

// Start frames of sounds (left channel): a loud sample after 10 ms of silence.
std::vector<size_t> Onsets(const std::string& wav) {
  std::vector<size_t> onsets;
  size_t quiet = kRate;
  for (size_t pos = wav.find("data") + 8, frame = 0; pos + 4 <= wav.size(); pos += 4, ++frame) {
    int16_t sample;
    std::memcpy(&sample, wav.data() + pos, 2);
    if (std::abs(sample) > 1000) {
      if (quiet >= kRate / 100) onsets.push_back(frame);
      quiet = 0;
    } else {
      ++quiet;
    }
  }
  return onsets;
}

// One object of a 192-step measure line.
std::string StepLine(int measure, int channel, int step, const std::string& value) {
  std::string data(192 * 2, '0');
  data.replace(static_cast<size_t>(step) * 2, 2, value);
  char head[32];
  std::snprintf(head, sizeof head, "#%03d%02d:", measure, channel);
  return head + data;
}

class RenderMode : public ::testing::Test {
 protected:
  int Render(std::vector<std::string> args, std::string* log = nullptr) {
    std::ostringstream out;
    std::ostringstream err;
    const auto request = ParseRenderArgs(args, err);
    const int status = request ? RunRender(*request, out, err) : -1;
    if (log != nullptr) *log = out.str() + err.str();
    return status;
  }
  TempFolder folder;
};

TEST_F(RenderMode, SoundsStartAtTheirOwnChartTimes) {
  WriteClick(folder.Path("click.wav"));
  // 120 BPM: a measure is 2000 ms. Clicks at 2000 and 3000 ms, then 180 BPM
  // from 4000 ms: the next bar starts 1333.3 ms later and its second beat
  // 333.3 ms after that. Key notes fire in automatic play too.
  const std::string chart =
      folder.Write("clicks.bms", Crlf({"#BPM 120", "#WAV01 CLICK.WAV", "#00101:0101", "#00203:B4", "#00201:01",
                                       "#00311:0001", "#00301:01", "#00411:0100000000000000"}));
  const std::string wav = folder.Path("out.wav");
  ASSERT_EQ(Render({wav, chart}), 0);
  const std::vector<size_t> onsets = Onsets(ReadFileBytes(wav));
  const std::vector<double> expectedMs = {
      2000.0, 3000.0, 4000.0, 4000.0 + 4000.0 / 3, 4000.0 + 4000.0 / 3 + 2000.0 / 3, 4000.0 + 8000.0 / 3};
  ASSERT_EQ(onsets.size(), expectedMs.size()) << ::testing::PrintToString(onsets);
  for (size_t i = 0; i < onsets.size(); ++i) {
    EXPECT_NEAR(onsets[i] * 1000.0 / kRate, expectedMs[i], 1.0) << "sound " << i;
  }

  // 150 BPM, then 200 BPM at measure 1 step 17, between two 5 ms passes,
  // with a click at the same position: the clock reaches it at 1600 +
  // 17 x 1250 / 150 ms to the sample, whatever tempo follows.
  const std::string tempo = folder.Write(
      "tempo.bms", Crlf({"#BPM 150", "#WAV01 click.wav", StepLine(1, 3, 17, "C8"), StepLine(1, 1, 17, "01")}));
  ASSERT_EQ(Render({wav, tempo}), 0);
  EXPECT_EQ(Onsets(ReadFileBytes(wav)),
            std::vector<size_t>{static_cast<size_t>(std::llround((1600.0 + 17 * 1250.0 / 150) * kRate / 1000))});
}

TEST_F(RenderMode, ScriptedUserPlayAppendsTheScoreLog) {
  WriteClick(folder.Path("click.wav"));
  const std::string chart = folder.Write(
      "play.bms", Crlf({"#TITLE Keys", "#BPM 120", "#WAV01 click.wav", "#00111:01", "#00112:01", "#00301:01"}));
  // Lane 11 is Z (90), lane 12 S (83) in the default key table; S comes
  // 100 ms (9.6 units) late: a Good.
  const std::string script = folder.Write("keys.txt", "# presses\n2000 down 90\n2050 up 90\n\n2100 down 83\n");
  const std::string home = (folder.path() / "home").string();
  ::setenv("VREMO_HOME", home.c_str(), 1);
  std::string log;
  ASSERT_EQ(Render({(folder.path() / "o.wav").string(), "--option", "UserPlay=True", "--input", script, chart}, &log),
            0)
      << log;
  ::unsetenv("VREMO_HOME");
  const std::string scores = ReadFileBytes(home + "/vremoscore.txt");
  EXPECT_NE(scores.find("*INF \tKeys\t"), std::string::npos) << scores;
  EXPECT_NE(scores.find("1P - fGreat 1 Great 0 Good 1 Bad 0 Poor 0"), std::string::npos) << scores;
  EXPECT_NE(log.find("PlayLoop complete"), std::string::npos);
}

// Positive offsets make up for a player who hears or presses late: sounds
// start earlier by the audio offset, presses are judged earlier by the
// judgement offset.
TEST_F(RenderMode, AudioAndJudgeOffsetsMoveSoundsAndJudgementsByTheirMilliseconds) {
  WriteClick(folder.Path("click.wav"));
  // 120 BPM: a background click at 2000 ms and an automatic key note at 3000,
  // the last object, so a late offset must still play it.
  const std::string chart =
      folder.Write("offsets.bms", Crlf({"#BPM 120", "#WAV01 click.wav", "#00101:01", "#00111:0001"}));
  const std::string wav = folder.Path("out.wav");
  for (const int offset : {0, 120, -80}) {
    ASSERT_EQ(Render({wav, "--option", "AudioOffset=" + std::to_string(offset), chart}), 0);
    const auto expected = [offset](double ms) {
      return static_cast<size_t>(std::llround((ms - offset) * kRate / 1000));
    };
    EXPECT_EQ(Onsets(ReadFileBytes(wav)), (std::vector<size_t>{expected(2000), expected(3000)})) << offset;
  }

  // S 100 ms late is a Good (9.6 units); with a judgement offset of 100 ms
  // it is an fGreat, and Z on time becomes a Good.
  const std::string play =
      folder.Write("play.bms", Crlf({"#BPM 120", "#WAV01 click.wav", "#00111:01", "#00112:01", "#00301:01"}));
  const std::string script = folder.Write("keys.txt", "2000 down 90\n2050 up 90\n2100 down 83\n");
  const std::string home = (folder.path() / "home").string();
  ::setenv("VREMO_HOME", home.c_str(), 1);
  ASSERT_EQ(Render({wav, "--option", "UserPlay=True", "--option", "JudgeOffset=100", "--input", script, play}), 0);
  ::unsetenv("VREMO_HOME");
  const std::string scores = ReadFileBytes(home + "/vremoscore.txt");
  EXPECT_NE(scores.find("1P - fGreat 1 Great 0 Good 1 Bad 0 Poor 0"), std::string::npos) << scores;
  EXPECT_NE(scores.find("  J-Pts: 26.0pts"), std::string::npos) << scores;
}

TEST_F(RenderMode, BadArgumentsAndScriptsAreRefused) {
  const std::string chart = folder.Write("a.bms", Crlf({"#BPM 120", "#00111:01"}));
  const std::string wav = (folder.path() / "a.wav").string();
  std::string log;
  EXPECT_EQ(Render({wav}, &log), -1);
  EXPECT_EQ(Render({wav, "--option", "Nonsense=1", chart}, &log), 64);
  EXPECT_EQ(log, "vremo: unknown option or bad value: Nonsense=1\n");
  const std::string garbage = folder.Write("bad.txt", "100 down 90\nhello world\n");
  EXPECT_EQ(Render({wav, "--input", garbage, chart}, &log), 64);
  EXPECT_NE(log.find(garbage + ": line 2: "), std::string::npos) << log;
  EXPECT_EQ(Render({wav, "--input", (folder.path() / "none.txt").string(), chart}, &log), 64);
  EXPECT_NE(log.find("none.txt: cannot be read"), std::string::npos) << log;
  EXPECT_EQ(Render({wav, (folder.path() / "none.bms").string()}, &log), 2);
  EXPECT_EQ(Render({(folder.path() / "no/such/folder/x.wav").string(), chart}, &log), 3);
}

TEST_F(RenderMode, ModernUserPlayJudgesLongNotesByTheirReleaseAndMinesHurt) {
  WriteClick(folder.Path("click.wav"));
  // 125 BPM: 10 ms a unit, 1920 ms a measure. Measures 1-6 hold a long note on lane 1 (#LNTYPE 1, channel
  // 51) from 48 to 144 units into the measure; measure 7 starts with a mine of 10 ("0A") on D1, measure 8
  // with a background click.
  std::vector<std::string> lines = {"#TITLE Long", "#BPM 125", "#TOTAL 120", "#LNTYPE 1", "#WAV01 click.wav"};
  for (int m = 1; m <= 6; ++m) lines.push_back("#00" + std::to_string(m) + "51:00010001");
  lines.push_back("#007D1:0A");
  lines.push_back("#00801:01");
  const std::string chart = folder.Write("long.bms", Crlf(lines));
  // Z at each head; released 56 units early, then 2, 5, 11 and 23 units before the tail, then held
  // past it; a press across the mine.
  const std::string script =
      folder.Write("keys.txt",
                   "2400 down 90\n2800 up 90\n4320 down 90\n5260 up 90\n6240 down 90\n7150 up 90\n8160 down 90\n"
                   "9010 up 90\n10080 down 90\n10810 up 90\n12000 down 90\n13200 up 90\n13400 down 90\n13480 up 90\n");
  const std::string home = (folder.path() / "home").string();
  const std::string wav = (folder.path() / "long.wav").string();
  ::setenv("VREMO_HOME", home.c_str(), 1);
  std::string log;
  const int status =
      Render({wav, "--option", "ModernReading=True", "--option", "UserPlay=True", "--input", script, chart}, &log);
  ::unsetenv("VREMO_HOME");
  ASSERT_EQ(status, 0) << log;
  // Heads all fGreat; tails Poor, fGreat, Great, Good, Bad and fGreat: 12 notes, a gauge step of 10.
  const std::string scores = ReadFileBytes(home + "/vremoscore.txt");
  EXPECT_NE(scores.find("\r\n1P - fGreat 8 Great 1 Good 1 Bad 1 Poor 1\r\n  J-Pts: 92.0pts\r\n  Pts: 145833pts\r\n"
                        "  Ex-Pts: 17pts\r\n2P - fGreat 0 Great 0 Good 0 Bad 0 Poor 0\r\n"),
            std::string::npos)
      << scores;
  // 22 +10 -60 (to 0) +10 +10 +10 +10 +10 +3.3 +10 -30 +10 +10, then the mine's 10.
  EXPECT_NE(log.find("  Ex-Pts: 17pts\n  Gauge: 43.3%\n"), std::string::npos) << log;
  // The presses sound (with the heads' own automatic sounds); tails and the mine are silent.
  const std::vector<size_t> onsets = Onsets(ReadFileBytes(wav));
  const std::vector<double> expectedMs = {2400, 4320, 6240, 8160, 10080, 12000, 13400, 15360};
  ASSERT_EQ(onsets.size(), expectedMs.size()) << ::testing::PrintToString(onsets);
  for (size_t i = 0; i < onsets.size(); ++i) EXPECT_NEAR(onsets[i] * 1000.0 / kRate, expectedMs[i], 1.0) << i;
}

}  // namespace
}  // namespace vremo
