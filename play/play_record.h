#pragma once
// A play record: the lane-key presses of one play of one chart, collected
// while UserRec is on and replayed by the play loop while PlayRec is on (each
// press sounds again at its recorded position). The engine owns the one
// record; the key handler appends, StepFrame consumes. UI thread only.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vremo {

// Room made when a recorded play starts: entries 0 to 10000.
inline constexpr int32_t kRecordCapacity = 10001;

// One press, six 32-bit fields (24 bytes, the order record files keep).
struct PlayRecordEntry {
  int32_t measure = 0;   // the last bar line passed
  int32_t position = 0;  // chart position of the press
  int32_t colour = 0;    // colour of the latest judgement at that moment
  int32_t channel = 0;   // lane channel 11-29
  int32_t sound = 0;     // the WAV slot the lane played
  int32_t spare = 0;
};
static_assert(sizeof(PlayRecordEntry) == 24);

// Presses judged at their key's time keep more than the whole position: the
// spare field holds the part the rounding dropped, in 1/2^24 units offset by
// half a unit and one (so 0 still means a whole position), and flags a
// release. Records of classic plays keep spare 0 and read as before.
inline constexpr int32_t kRecordReleaseFlag = 1 << 30;
inline constexpr double kRecordFractionScale = 16777216.0;  // 2^24

// The entry's position with its recorded fraction.
double ExactPosition(const PlayRecordEntry& entry);
// Sets position (rounded, halves to even) and the fraction; false when the
// position is past 32 bits.
bool SetExactPosition(PlayRecordEntry& entry, double position);
inline bool IsRelease(const PlayRecordEntry& entry) { return (entry.spare & kRecordReleaseFlag) != 0; }

class PlayRecord {
 public:
  // Length 0 and kRecordCapacity empty entries.
  void StartRecording();
  // Stores the entry at index `length` and counts it; past the room made by
  // StartRecording the entry is dropped but still counted.
  void Append(const PlayRecordEntry& entry);
  // Replaces the record (a loaded file): `entries` holds at least `length`.
  void Assign(std::vector<PlayRecordEntry> entries, int32_t length);

  int32_t length() const { return length_; }
  // Entries that exist; lower than length() when appends overflowed.
  int32_t StoredCount() const;
  const PlayRecordEntry& Entry(int32_t index) const { return entries_[static_cast<size_t>(index)]; }
  const std::vector<PlayRecordEntry>& entries() const { return entries_; }

 private:
  std::vector<PlayRecordEntry> entries_;
  int32_t length_ = 0;
};

}  // namespace vremo
