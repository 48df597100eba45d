#pragma once
// The time of every chart position for the modern reading: tempo changes
// with fractional tempos and stops (the position holds while time runs), in
// chart units (192 a standard measure) and milliseconds from position 0.
// Built once per load by the reader, then read by the play engine and the
// timeline tool; no allocation after the build. Any single thread.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vremo {

struct TimingPoint {
  double y = 0.0;       // position of the change
  double ms = 0.0;      // time at which the position is reached
  double bpm = 0.0;     // tempo from here on
  double stopMs = 0.0;  // how long the position holds once reached
};

class TimingMap {
 public:
  // Starts over with one tempo from position 0.
  void Reset(double startBpm);
  // Changes must come in position order; at one position the tempo change
  // comes before the stop. Tempos that are not positive or not finite are
  // refused (false): the tempo in force stays.
  bool AddTempo(double y, double bpm);
  // A stop of `units` at the tempo in force at y (192 a whole note).
  bool AddStop(double y, double units);

  // When y is reached (a stop at y is still to come).
  double TimeAt(double y) const;
  // Where the play is at `ms`: held at a stop's position while it runs.
  double PositionAt(double ms) const;
  double TempoAt(double y) const;
  double StartBpm() const { return points_.empty() ? 0.0 : points_.front().bpm; }
  const std::vector<TimingPoint>& points() const { return points_; }

 private:
  // The last point at or before y (index 0 for positions before it).
  size_t PointAt(double y) const;
  std::vector<TimingPoint> points_;
};

// Milliseconds of one unit at a tempo: 1250 / bpm.
double MsPerUnit(double bpm);

}  // namespace vremo
