// Snapshots of the bundled demo song with the default layout, and of a
// double-play chart from the corpus.
#include "display/snapshot.h"

#include <sstream>

#include "chart/bms_reader.h"
#include "tests/display/graphics_fixture.h"

namespace vremo::testing {
namespace {

const std::string kAssets = VREMO_ASSETS_DIR;

class SnapshotTest : public ::testing::Test {
 protected:
  SnapshotRequest Request(const std::string& chart, int32_t position) const {
    SnapshotRequest request;
    request.chartPath = chart;
    request.outputPath = folder.Path("shot.png");
    request.layoutPath = kAssets + "/default.vrd";
    request.position = position;
    return request;
  }

  TempFolder folder;
  MemoryLogSink sink;
  DebugLog log{&sink};
  std::ostringstream err;
};

// The frame after an automatic play: the song's picture fills the BGA box
// of the default layout and the fGreat word lies on side 1 at H - 64.
TEST_F(SnapshotTest, DemoFrameAfterAnAutomaticPlay) {
  const SnapshotRequest request = Request(kAssets + "/demo/demo.bms", 1536);
  ASSERT_EQ(RunSnapshot(request, log, err), SnapshotResult::kWritten) << err.str();
  const QImage frame(QString::fromStdString(request.outputPath));
  ASSERT_EQ(frame.size(), QSize(kFullScreenWidth, kFullScreenHeight));
  int lit = 0;
  for (int y = 24; y < 280; y += 8) {
    for (int x = 192; x < 448; x += 8) lit += (frame.pixel(x, y) & 0xFFFFFFu) != 0 ? 1 : 0;
  }
  EXPECT_GT(lit, 900);
  int gold = 0;
  for (int x = 11; x < 181; ++x) {
    const QRgb pixel = frame.pixel(x, kFullScreenHeight - 64 + 7);
    gold += qRed(pixel) > 200 && qGreen(pixel) > 120 && qBlue(pixel) < 120 ? 1 : 0;
  }
  EXPECT_GT(gold, 10);
  // A second run draws the very same frame.
  const std::string first = folder.Read("shot.png");
  ASSERT_EQ(RunSnapshot(request, log, err), SnapshotResult::kWritten);
  EXPECT_EQ(folder.Read("shot.png"), first);

  // The scene stops at the position and has judged every note so far.
  Settings settings;
  settings.demoMode = settings.userPlay = true;
  SnapshotScene scene(log, settings, kFullScreenWidth, kFullScreenHeight);
  ASSERT_EQ(scene.LoadChart(kAssets + "/demo/demo.bms"), kLoadOk);
  scene.PlayTo(1536);
  const PlayState& state = scene.engine().state();
  EXPECT_GE(state.currentPosition, 1536.0);
  EXPECT_LT(state.currentPosition, 1536.0 + state.rate + 1e-9);
  const PlayerScore& score = scene.engine().scores().players[0];
  EXPECT_GT(score.fGreat, 40);
  EXPECT_EQ(score.great + score.good + score.bad + score.poor, 0);
  EXPECT_EQ(score.combo, score.fGreat);
  EXPECT_GT(score.displayedGauge, 22.0f);
}

TEST_F(SnapshotTest, DoublePlayShowsBothSides) {
  SnapshotRequest request = Request(std::string(VREMO_CORPUS_DIR) + "/moontide/moontide_14keys_e.bme", 3840);
  request.options = {"ShowVLine=True"};
  ASSERT_EQ(RunSnapshot(request, log, err), SnapshotResult::kWritten) << err.str();
  const QImage frame(QString::fromStdString(request.outputPath));
  ASSERT_EQ(frame.size(), QSize(kFullScreenWidth, kFullScreenHeight));
  // The red feet of the guide lanes along the bottom of both sides (the
  // bottom row itself holds a bar line at this position).
  auto redFeet = [&frame](int from, int to) {
    int red = 0;
    for (int x = from; x < to; ++x) red += (frame.pixel(x, 475) & 0xFFFFFFu) == 0xFF0000u ? 1 : 0;
    return red;
  };
  EXPECT_GT(redFeet(0, 200), 100);
  EXPECT_GT(redFeet(440, 640), 100);
}

TEST_F(SnapshotTest, BadRequestsSayWhy) {
  SnapshotRequest request = Request(folder.Path("none.bms"), 0);
  EXPECT_EQ(RunSnapshot(request, log, err), SnapshotResult::kChartMissing);
  EXPECT_NE(err.str().find("none.bms"), std::string::npos);
  request.chartPath = folder.Write("empty.bms", "#TITLE nothing\r\n");
  EXPECT_EQ(RunSnapshot(request, log, err), SnapshotResult::kNoObject);
  request.options = {"NoSuchOption=1"};
  EXPECT_EQ(RunSnapshot(request, log, err), SnapshotResult::kBadRequest);
  request.options.clear();
  request.width = 0;
  EXPECT_EQ(RunSnapshot(request, log, err), SnapshotResult::kBadRequest);
  request = Request(kAssets + "/demo/demo.bms", 0);
  request.outputPath = folder.Path("missing/folder/shot.png");
  EXPECT_EQ(RunSnapshot(request, log, err), SnapshotResult::kWriteFailed);
  EXPECT_NE(err.str().find("cannot write"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(folder.Path("missing")));
}

}  // namespace
}  // namespace vremo::testing
