// Snapshots of the bundled demo song with the default layout, and of a
// double-play chart from the corpus.
#include "display/snapshot.h"

#include <sstream>

#include "chart/bms_reader.h"
#include "tests/display/graphics_fixture.h"
#include "tools/make_skin/skin_layout.h"

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

// A modern chart with the default skin, before anything reaches the line:
// in lane 11 a mine (foot at y 384) and a long note from 192 to 288 (feet
// at 288 and 192). The body is the white note's middle row at half its
// brightness, the mine the skin's own picture.
TEST_F(SnapshotTest, ModernChartShowsLongNotesAndMines) {
  SnapshotRequest request =
      Request(folder.Write("modern.bms",
                           "#PLAYER 1\r\n#BPM 120\r\n#LNTYPE 1\r\n#000D1:000A\r\n#00112:01\r\n#00151:01000100\r\n"),
              0);
  request.options = {"ModernReading=True"};
  ASSERT_EQ(RunSnapshot(request, log, err), SnapshotResult::kWritten) << err.str();
  const QImage frame(QString::fromStdString(request.outputPath));
  const QImage skinPicture(QString::fromStdString(kAssets + "/default_skin.png"));
  const int lane = skin::kSide1Left + skin::kScratchWidth;
  auto at = [&frame](int x, int y) { return frame.pixel(x, y) & 0xFFFFFFu; };
  int compared = 0;
  for (int dx = 0; dx < skin::kWhiteWidth; ++dx) {
    const QRgb note = skinPicture.pixel(skin::kWhiteNote.x + dx, skin::kWhiteNote.y + skin::kNoteHeight / 2);
    const QRgb body = qRgb(qRed(note) / 2, qGreen(note) / 2, qBlue(note) / 2) & 0xFFFFFFu;
    for (int y = 192; y < 288 - skin::kNoteHeight; ++y) ASSERT_EQ(at(lane + dx, y), body) << dx << "," << y;
    for (int dy = 0; dy < skin::kNoteHeight; ++dy) {
      const QRgb mine = skinPicture.pixel(skin::kWhiteMine.x + dx, skin::kWhiteMine.y + dy) & 0xFFFFFFu;
      if (mine == 0) continue;
      EXPECT_EQ(at(lane + dx, 384 - skin::kNoteHeight + dy), mine) << dx << "," << dy;
      ++compared;
    }
  }
  EXPECT_GT(compared, 150);
  // Without the modern reading the lane holds loose notes and no body.
  request.options.clear();
  ASSERT_EQ(RunSnapshot(request, log, err), SnapshotResult::kWritten) << err.str();
  const QImage classic(QString::fromStdString(request.outputPath));
  EXPECT_EQ(classic.pixel(lane + 5, 240) & 0xFFFFFFu, 0u);
}

// At 250 BPM (0.2 units a millisecond) a display offset of 100 ms draws the
// notes as they stand 20 units later: the very frame of position 420.
TEST_F(SnapshotTest, DisplayOffsetDrawsTheNotesThatManyMillisecondsAhead) {
  const std::string chart =
      folder.Write("ahead.bms", "#BPM 250\r\n#00311:01010101\r\n#00312:00010001\r\n#00416:01\r\n");
  const auto shot = [&](int32_t position, const std::string& offset) {
    SnapshotRequest request = Request(chart, position);
    request.options = {"ShowGauge=False", "DisplayOffset=" + offset};
    EXPECT_EQ(RunSnapshot(request, log, err), SnapshotResult::kWritten) << err.str();
    return folder.Read("shot.png");
  };
  const std::string ahead = shot(400, "100");
  EXPECT_EQ(ahead, shot(420, "0"));
  EXPECT_NE(ahead, shot(400, "0"));
  EXPECT_EQ(shot(380, "-100"), shot(360, "0"));
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
