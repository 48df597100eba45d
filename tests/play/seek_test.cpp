#include <gtest/gtest.h>

#include "tests/play/play_fixture.h"

namespace vremo {
namespace {

// Tempo 125 (0.1 units a millisecond at factor 1), a change to 250 (FA) at measure 1, notes in measures 2 and 3.
class SeekTest : public testing::PlayFixture {
 protected:
  void SetUp() override { LoadLines({"#BPM 125", "#PLAYER 1", "#00103:FA", "#00211:01", "#00311:01"}); }
  // Plays from the start until the step at `tick` (5 ms passes).
  void PlayUntil(int32_t tick) {
    clock.Set(0);
    Seek(0);
    engine.StartPlay();
    while (clock.TickCount() <= tick) engine.RunPass();
  }
  // A second engine over the same chart seeks to `target` at the same time.
  void ExpectSeekAgrees(int32_t target) {
    PlayEngine seeker{*chart, settings, sounds, clock, log, host};
    clock.Set(engine.state().startTick + engine.state().elapsed);
    seeker.SetPlayPosition(target, true);
    EXPECT_EQ(seeker.state().positionOffset, engine.state().positionOffset);
    EXPECT_FLOAT_EQ(seeker.state().scaledTempo, engine.state().scaledTempo);
    EXPECT_EQ(seeker.state().startTick, engine.state().startTick);
    EXPECT_NEAR(engine.state().currentPosition, target, 1e-4);

    // Back before the change: the first tempo again.
    int32_t early = 100;
    seeker.SetPlayPosition(early, true);
    EXPECT_EQ(seeker.state().positionOffset, 0);
    EXPECT_FLOAT_EQ(seeker.state().scaledTempo, 125.0f * settings.realHiSpeed);
  }
};

TEST_F(SeekTest, TempoChangesAgreeWithSeekingAndOutOfRangeIsRefused) {
  PlayUntil(2000);
  EXPECT_EQ(engine.state().positionOffset, -192);
  EXPECT_FLOAT_EQ(engine.state().scaledTempo, 250.0f);
  EXPECT_NEAR(engine.state().currentPosition, 208.0, 1e-4);
  ExpectSeekAgrees(208);

  settings.realHiSpeed = 1.5f;
  PlayUntil(1280);  // the change fires at 1280 ms: 192 / 0.15
  EXPECT_NEAR(engine.state().currentPosition, 192.0, 1e-4);
  engine.StepFrame();  // the pass has slept: 1285 ms  // 250 x 0.5 / 1250 x 1280 = 128 units ahead of 193.5
  EXPECT_NEAR(engine.state().currentPosition, 321.5, 1e-4);
  EXPECT_EQ(engine.state().positionOffset, -64);
  while (clock.TickCount() < 1500) {
    clock.Advance(5);
    engine.StepFrame();
  }
  EXPECT_FLOAT_EQ(engine.state().scaledTempo, 375.0f);
  ExpectSeekAgrees(386);

  // Measures and positions out of range are refused.
  ASSERT_EQ(chart->maxMeasure, 3);
  clock.Set(5000);
  EXPECT_EQ(Seek(3, false), 576);
  EXPECT_EQ(chart->objects[engine.state().nextObject + 1].y, 576);
  EXPECT_FALSE(Logged("Err: Range over"));

  const PlayState before = engine.state();
  engine.state().basePicture = 4;
  const std::pair<int32_t, bool> refused[] = {{4, false}, {-1, false}, {577, true}, {-1, true}};
  for (auto [target, byPosition] : refused) {
    sink.lines.clear();
    EXPECT_EQ(Seek(target, byPosition), target);
    EXPECT_EQ(sink.lines, std::vector<std::string>{"Err: Range over"});
  }
  EXPECT_EQ(engine.state().basePicture, kNoPicture);
  EXPECT_EQ(engine.state().startTick, before.startTick);
  EXPECT_EQ(engine.state().nextObject, before.nextObject);

  sink.lines.clear();
  Seek(576);
  EXPECT_FALSE(Logged("Err: Range over"));
  Seek(0);
  EXPECT_EQ(engine.state().nextObject, 0);
  EXPECT_EQ(engine.state().startTick, 5000);
  EXPECT_EQ(engine.state().elapsed, 0);
}

}  // namespace
}  // namespace vremo
