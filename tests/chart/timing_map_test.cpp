// The modern reading's time of positions: tempo changes and stops.
#include "chart/timing_map.h"

#include <gtest/gtest.h>

namespace vremo {
namespace {

TEST(TimingMap, StopsHoldThePositionAndTemposChangeTheRate) {
  TimingMap map;
  map.Reset(120.0);  // 1 unit = 1250 / 120 ms
  EXPECT_DOUBLE_EQ(map.TimeAt(192.0), 2000.0);
  // A stop of 96 units at 120 BPM is 1000 ms; everything after moves by it.
  ASSERT_TRUE(map.AddStop(192.0, 96.0));
  EXPECT_DOUBLE_EQ(map.TimeAt(192.0), 2000.0);
  EXPECT_DOUBLE_EQ(map.TimeAt(288.0), 4000.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(2000.0), 192.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(2999.0), 192.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(3000.0), 192.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(4000.0), 288.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(1000.0), 96.0);

  // A fractional tempo at 384, then a stop at the same place at that tempo.
  ASSERT_TRUE(map.AddTempo(384.0, 187.5));
  ASSERT_TRUE(map.AddStop(384.0, 48.0));  // 48 x 1250 / 187.5 = 320 ms
  EXPECT_DOUBLE_EQ(map.TimeAt(384.0), 5000.0);
  EXPECT_DOUBLE_EQ(map.TimeAt(384.0 + 150.0), 5000.0 + 320.0 + 1000.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(6320.0), 534.0);
  EXPECT_DOUBLE_EQ(map.TempoAt(383.0), 120.0);
  EXPECT_DOUBLE_EQ(map.TempoAt(384.0), 187.5);

  // Tempos that are not positive and finite, stops of nothing and changes
  // that go back are refused; the map is as it was.
  EXPECT_FALSE(map.AddTempo(400.0, 0.0));
  EXPECT_FALSE(map.AddTempo(400.0, -120.0));
  EXPECT_FALSE(map.AddTempo(400.0, 1.0 / 0.0));
  EXPECT_FALSE(map.AddStop(400.0, 0.0));
  EXPECT_FALSE(map.AddTempo(100.0, 90.0));
  EXPECT_EQ(map.points().size(), 3u);
  // Before position 0 (a negative seek) the start tempo runs backwards.
  EXPECT_DOUBLE_EQ(map.TimeAt(-96.0), -1000.0);
  EXPECT_DOUBLE_EQ(map.PositionAt(-1000.0), -96.0);
}

}  // namespace
}  // namespace vremo
