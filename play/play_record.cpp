// The play record in memory.
#include "play/play_record.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "chart/numbers.h"

namespace vremo {

namespace {
constexpr int32_t kFractionMask = kRecordReleaseFlag - 1;
constexpr double kHalfUnit = 0.5;
}  // namespace

double ExactPosition(const PlayRecordEntry& entry) {
  const int32_t fraction = entry.spare & kFractionMask;
  if (fraction == 0) return entry.position;
  return entry.position + (fraction - 1) / kRecordFractionScale - kHalfUnit;
}

bool SetExactPosition(PlayRecordEntry& entry, double position) {
  const auto whole = RoundToInt32(position);
  if (!whole) return false;
  entry.position = *whole;
  const double rest = std::clamp(position - *whole + kHalfUnit, 0.0, 1.0);
  entry.spare =
      (entry.spare & kRecordReleaseFlag) | (static_cast<int32_t>(std::lround(rest * kRecordFractionScale)) + 1);
  return true;
}

void PlayRecord::StartRecording() {
  length_ = 0;
  entries_.assign(kRecordCapacity, PlayRecordEntry{});
}

void PlayRecord::Append(const PlayRecordEntry& entry) {
  if (length_ >= 0 && static_cast<size_t>(length_) < entries_.size()) entries_[static_cast<size_t>(length_)] = entry;
  if (length_ < INT32_MAX) ++length_;
}

void PlayRecord::Assign(std::vector<PlayRecordEntry> entries, int32_t length) {
  entries_ = std::move(entries);
  length_ = std::max(length, 0);
}

int32_t PlayRecord::StoredCount() const {
  return std::min(length_, static_cast<int32_t>(std::min<size_t>(entries_.size(), INT32_MAX)));
}

}  // namespace vremo
