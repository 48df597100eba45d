// The play record in memory.
#include "play/play_record.h"

#include <algorithm>
#include <utility>

namespace vremo {

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
