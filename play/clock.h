#pragma once
// The play clock: whole milliseconds in a 32-bit counter that wraps, as the
// desktop's tick counter does. SteadyClock is the live one; VirtualClock is
// set and advanced by tests and by offline rendering, so a whole play can run
// faster than real time with the same results. UI thread only.

#include <chrono>
#include <cstdint>

namespace vremo {

class Clock {
 public:
  virtual ~Clock() = default;
  virtual int32_t TickCount() const = 0;
};

// Milliseconds of std::chrono::steady_clock, low 32 bits.
class SteadyClock : public Clock {
 public:
  int32_t TickCount() const override;
};

class VirtualClock : public Clock {
 public:
  explicit VirtualClock(int32_t startTick = 0) : now_(startTick) {}
  int32_t TickCount() const override { return now_; }
  void Set(int32_t tick) { now_ = tick; }
  void Advance(int32_t ms);

 private:
  int32_t now_;
};

// a - b on the wrapping counter (a later tick minus an earlier one).
int32_t TicksBetween(int32_t later, int32_t earlier);

}  // namespace vremo
