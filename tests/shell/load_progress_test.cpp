// Load progress: counts in file order through the real chart reader, first
// file reported at once, later ones no more often than the interval.
#include "shell/load_progress.h"

#include <gtest/gtest.h>

#include <vector>

#include "chart/bms_reader.h"
#include "chart/chart.h"
#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using testing::Crlf;
using testing::TempFolder;

// Remembers which slots it was asked for, in order.
class RecordingLoader : public NullMediaLoader {
 public:
  SoundLoadResult LoadSound(int slot, const std::string&) override {
    slots.push_back(slot);
    return {};
  }
  PictureLoadResult LoadPicture(int slot, const std::string&, bool) override {
    slots.push_back(-slot);
    return {};
  }
  std::vector<int> slots;
};

TEST(LoadProgressTest, CountsEveryMediaLineAndThrottlesReports) {
  TempFolder folder;
  const std::string chart = folder.Write(
      "media.bms", Crlf({"#WAV01 a.wav", "#BMP01 a.bmp", "#WAV02 b.wav", "#WAV03 c.wav", "#BMP02 b.png", "#00111:01"}));
  for (const auto interval : {std::chrono::milliseconds(3600 * 1000), std::chrono::milliseconds(0)}) {
    RecordingLoader media;
    std::vector<LoadCounts> reports;
    LoadProgress progress(
        media, [&](const LoadCounts& counts) { reports.push_back(counts); }, interval);
    MemoryLogSink sink;
    DebugLog log(&sink);
    Chart loaded;
    LoadContext context{log, progress, {}, {}};
    ASSERT_EQ(LoadChart(chart, loaded, context), kLoadOk);

    // Every line still reaches the media layer, in file order.
    EXPECT_EQ(media.slots, (std::vector<int>{1, -1, 2, 3, -2}));
    EXPECT_EQ(progress.counts().sounds, 3);
    EXPECT_EQ(progress.counts().pictures, 2);
    ASSERT_FALSE(reports.empty());
    EXPECT_EQ(reports.front().sounds, 1);
    EXPECT_EQ(reports.front().pictures, 0);
    // An hour apart: only the first; no interval: every file.
    EXPECT_EQ(reports.size(), interval.count() == 0 ? 5u : 1u);
    EXPECT_EQ(reports.back().sounds + reports.back().pictures, interval.count() == 0 ? 5 : 1);
  }
}

}  // namespace
}  // namespace vremo
