// The live and the virtual play clock.
#include "play/clock.h"

namespace vremo {

int32_t SteadyClock::TickCount() const {
  const auto ms =
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
  return static_cast<int32_t>(static_cast<uint32_t>(ms.count()));
}

void VirtualClock::Advance(int32_t ms) {
  now_ = static_cast<int32_t>(static_cast<uint32_t>(now_) + static_cast<uint32_t>(ms));
}

int32_t TicksBetween(int32_t later, int32_t earlier) {
  return static_cast<int32_t>(static_cast<uint32_t>(later) - static_cast<uint32_t>(earlier));
}

}  // namespace vremo
