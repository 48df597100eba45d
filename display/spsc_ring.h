#pragma once
// A fixed-size single-producer single-consumer ring of trivially copyable
// values, lock-free and allocation-free after construction. The UI thread
// pushes mixer commands, the audio thread pops them. The count of values popped
// so far is published, so the producer can tell when the consumer has seen a
// given push (and may free what that push superseded).

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace vremo {

template <typename T, size_t kCapacity>
class SpscRing {
  static_assert(std::is_trivially_copyable_v<T>);
  static_assert(kCapacity > 0 && (kCapacity & (kCapacity - 1)) == 0, "capacity must be a power of two");

 public:
  // Producer only. False when the ring is full (the value is not queued).
  bool Push(const T& value) {
    const uint64_t head = head_.load(std::memory_order_relaxed);
    if (head - tail_.load(std::memory_order_acquire) >= kCapacity) return false;
    slots_[head & (kCapacity - 1)] = value;
    head_.store(head + 1, std::memory_order_release);
    return true;
  }

  // Consumer only. False when the ring is empty.
  bool Pop(T& value) {
    const uint64_t tail = tail_.load(std::memory_order_relaxed);
    if (tail == head_.load(std::memory_order_acquire)) return false;
    value = slots_[tail & (kCapacity - 1)];
    tail_.store(tail + 1, std::memory_order_release);
    return true;
  }

  // Values pushed so far (producer's view) and popped so far (any thread).
  uint64_t pushed() const { return head_.load(std::memory_order_relaxed); }
  uint64_t popped() const { return tail_.load(std::memory_order_acquire); }

 private:
  alignas(64) std::atomic<uint64_t> head_{0};
  alignas(64) std::atomic<uint64_t> tail_{0};
  std::array<T, kCapacity> slots_{};
};

}  // namespace vremo
