// Piecewise-linear position <-> time with holds.
#include "chart/timing_map.h"

#include <algorithm>
#include <cmath>

#include "chart/chart.h"

namespace vremo {

double MsPerUnit(double bpm) { return kMsPerUnitAtBpm1 / bpm; }

void TimingMap::Reset(double startBpm) {
  points_.clear();
  points_.push_back(TimingPoint{0.0, 0.0, startBpm, 0.0});
}

bool TimingMap::AddTempo(double y, double bpm) {
  if (!(bpm > 0.0) || !std::isfinite(bpm) || points_.empty() || y < points_.back().y) return false;
  const TimingPoint& last = points_.back();
  if (y == last.y) {
    points_.back().bpm = bpm;
    return true;
  }
  const double ms = last.ms + last.stopMs + (y - last.y) * MsPerUnit(last.bpm);
  points_.push_back(TimingPoint{y, ms, bpm, 0.0});
  return true;
}

bool TimingMap::AddStop(double y, double units) {
  if (!(units > 0.0) || !std::isfinite(units) || points_.empty() || y < points_.back().y) return false;
  if (y != points_.back().y && !AddTempo(y, points_.back().bpm)) return false;
  TimingPoint& point = points_.back();
  point.stopMs += units * MsPerUnit(point.bpm);
  return true;
}

size_t TimingMap::PointAt(double y) const {
  const auto after = std::upper_bound(points_.begin(), points_.end(), y,
                                      [](double value, const TimingPoint& p) { return value < p.y; });
  return after == points_.begin() ? 0 : static_cast<size_t>(after - points_.begin() - 1);
}

double TimingMap::TimeAt(double y) const {
  if (points_.empty()) return 0.0;
  const TimingPoint& p = points_[PointAt(y)];
  if (y <= p.y) return p.ms - (p.y - y) * MsPerUnit(p.bpm);  // before the first point
  return p.ms + p.stopMs + (y - p.y) * MsPerUnit(p.bpm);
}

double TimingMap::PositionAt(double ms) const {
  if (points_.empty()) return 0.0;
  const auto after = std::upper_bound(points_.begin(), points_.end(), ms,
                                      [](double value, const TimingPoint& p) { return value < p.ms; });
  const TimingPoint& p = after == points_.begin() ? points_.front() : *(after - 1);
  const double moving = ms - p.ms - p.stopMs;
  if (moving <= 0.0 && ms >= p.ms) return p.y;  // inside the stop
  return p.y + (ms < p.ms ? ms - p.ms : moving) / MsPerUnit(p.bpm);
}

double TimingMap::TempoAt(double y) const { return points_.empty() ? 0.0 : points_[PointAt(y)].bpm; }

}  // namespace vremo
