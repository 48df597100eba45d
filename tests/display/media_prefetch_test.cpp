// Media decoded ahead of a load on worker threads: the load's log and slots
// are those of a plain load, each file is decoded once, and a cancelled load
// leaves no worker behind and the next load whole.
#include "display/media_prefetch.h"

#include <gtest/gtest.h>

#include <QImage>
#include <filesystem>
#include <vector>

#include "chart/bms_reader.h"
#include "display/media_layer.h"
#include "display/offline_renderer.h"
#include "display/sound_bank.h"
#include "display/wav_writer.h"
#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using testing::Crlf;
using testing::TempFolder;

constexpr int32_t kRate = 44100;

void WriteTone(const std::string& path, int64_t frames, float level) {
  const std::vector<float> samples(static_cast<size_t>(frames) * 2, level);
  ASSERT_TRUE(WriteWavFile(path, samples.data(), frames, kRate));
}

int ThreadsOfProcess() {
  return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

// The player's media: a sound bank over an offline output and the picture
// slots, loading into one chart.
struct Player {
  MemoryLogSink sink;
  DebugLog log{&sink};
  OfflineRenderer output;
  MixerSoundBank sounds{output};
  MediaLayer layer{log, &sounds};
  Chart chart;
  LoadContext context{log, layer, {}, {}};
};

TEST(MediaPrefetch, SharedFilesAreDecodedOnceAndTheLoadLogsAsWithoutIt) {
  TempFolder folder;
  WriteTone(folder.Path("a.wav"), kRate / 10, 0.25f);
  WriteTone(folder.Path("b.wav"), kRate / 20, 0.5f);
  QImage picture(8, 4, QImage::Format_RGB32);
  picture.fill(Qt::red);
  ASSERT_TRUE(picture.save(QString::fromStdString(folder.Path("p.png"))));
  // a.wav twice, once by another case; a missing sound; p.png twice.
  const std::string chart =
      folder.Write("c.bms", Crlf({"#WAV01 a.wav", "#WAV02 A.WAV", "#WAV03 b.wav", "#WAV04 gone.wav", "#BMP01 p.png",
                                  "#BMP02 p.png", "#00111:01020304", "#00104:0102"}));

  Player plain;
  ASSERT_EQ(LoadChart(chart, plain.chart, plain.context), kLoadOk);
  for (int threads : {1, 2}) {
    Player ahead;
    std::vector<int> seen;
    const AheadLoad load = LoadChartAhead(chart, ahead.chart, ahead.context, ahead.layer, threads,
                                          [&](const MediaPrefetch::Progress& progress) {
                                            seen.push_back(progress.done);
                                            return true;
                                          });
    ASSERT_EQ(load.result, kLoadOk) << threads;
    EXPECT_EQ(load.decodes, 3) << threads;
    EXPECT_EQ(load.progress.done, 3);
    EXPECT_EQ(load.progress.total, 3);
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen.back(), 3);
    EXPECT_EQ(ahead.sink.lines, plain.sink.lines) << threads;
    EXPECT_EQ(ahead.sounds.Sound(1), ahead.sounds.Sound(2));
    for (int slot = 1; slot <= 4; ++slot) {
      EXPECT_EQ(ahead.sounds.HasSound(slot), plain.sounds.HasSound(slot)) << slot;
      EXPECT_EQ(ahead.sounds.LengthBytes(slot), plain.sounds.LengthBytes(slot)) << slot;
      EXPECT_EQ(ahead.chart.soundSize[slot], plain.chart.soundSize[slot]) << slot;
    }
    EXPECT_EQ(ahead.sounds.LengthBytes(1), kRate / 10 * kSoundBytesPerFrame);
    EXPECT_FALSE(ahead.sounds.HasSound(4));
    for (int slot = 1; slot <= 2; ++slot) {
      ASSERT_NE(ahead.layer.pictures().Picture(slot), nullptr);
      EXPECT_EQ(ahead.layer.pictures().Picture(slot)->width(), 8);
      EXPECT_EQ(ahead.chart.pictureRect[slot].width, plain.chart.pictureRect[slot].width);
    }
  }
}

TEST(MediaPrefetch, ACancelledLoadEndsItsWorkersAndTheNextLoadIsWhole) {
  TempFolder folder;
  constexpr int kFiles = 200;
  constexpr int kCancelAt = 20;
  std::vector<std::string> lines;
  for (int i = 1; i <= kFiles; ++i) {
    const std::string name = "s" + std::to_string(i) + ".wav";
    WriteTone(folder.Path(name), kRate / 4, 0.1f);
    char slot[3];
    std::snprintf(slot, sizeof slot, "%02X", i);
    lines.push_back("#WAV" + std::string(slot) + " " + name);
  }
  lines.push_back("#00111:01");
  const std::string big = folder.Write("big.bms", Crlf(lines));
  const std::string next = folder.Write("next.bms", Crlf({"#TITLE next", "#WAV01 s1.wav", "#00111:01"}));

  const int before = ThreadsOfProcess();
  Player player;
  player.chart.path = "previous.bms";
  const AheadLoad cancelled =
      LoadChartAhead(big, player.chart, player.context, player.layer, 1,
                     [&](const MediaPrefetch::Progress& progress) { return progress.done < kCancelAt; });
  EXPECT_FALSE(cancelled.result.has_value());
  EXPECT_GE(cancelled.progress.done, kCancelAt);
  EXPECT_LT(cancelled.progress.done, kFiles);
  EXPECT_EQ(cancelled.progress.total, kFiles);
  EXPECT_EQ(ThreadsOfProcess(), before);
  // Nothing of the cancelled chart was read or loaded.
  ASSERT_EQ(player.sink.lines.size(), 1u);
  EXPECT_EQ(player.sink.lines[0], "  load cancelled: " + std::to_string(cancelled.progress.done) + "/" +
                                      std::to_string(kFiles) + " files decoded");
  EXPECT_EQ(player.chart.path, "previous.bms");
  EXPECT_FALSE(player.sounds.HasSound(1));

  const AheadLoad loaded = LoadChartAhead(next, player.chart, player.context, player.layer, 2, {});
  ASSERT_EQ(loaded.result, kLoadOk);
  EXPECT_EQ(player.chart.title, "next");
  ASSERT_TRUE(player.sounds.HasSound(1));
  EXPECT_EQ(player.sounds.LengthBytes(1), kRate / 4 * kSoundBytesPerFrame);
  EXPECT_FALSE(player.sounds.HasSound(2));
  EXPECT_EQ(ThreadsOfProcess(), before);
}

}  // namespace
}  // namespace vremo
