#pragma once
// The one loaded song: header values, the position-ordered object table, the
// lane sound-change list, the measure lengths and the media slot tables.
//
// There is exactly one Chart in the program. LoadChart (bms_reader.h) clears
// and refills it; the play engine, the renderer and the play records read it.
// Every table is a fixed array sized once, so nothing reallocates during play.
// All access happens on the UI thread.

#include <array>
#include <cstdint>
#include <string>

#include "chart/timing_map.h"

namespace vremo {

// 192 units are one standard 4/4 measure, 48 units one beat.
inline constexpr int32_t kUnitsPerMeasure = 192;
// At tempo B one unit lasts kMsPerUnitAtBpm1 / B milliseconds (4 x 60000 / 192).
inline constexpr double kMsPerUnitAtBpm1 = 1250.0;

inline constexpr int32_t kMaxObjects = 10001;      // indices 0-10000
inline constexpr int32_t kMaxSoundChanges = 5001;  // indices 0-5000
inline constexpr int32_t kMaxMeasure = 1024;       // measures 0-1024
inline constexpr int32_t kMediaSlots = 256;        // "00" to "FF"
inline constexpr int32_t kFirstLaneChannel = 11;
inline constexpr int32_t kLastLaneChannel = 29;
inline constexpr int32_t kLaneChannelCount = kLastLaneChannel - kFirstLaneChannel + 1;

// Channel numbers the reader and the play engine share.
inline constexpr int32_t kChannelBarLine = -1;
inline constexpr int32_t kChannelBackgroundSound = 1;
inline constexpr int32_t kChannelMeasureLength = 2;
inline constexpr int32_t kChannelTempo = 3;
inline constexpr int32_t kChannelBgaBase = 4;
inline constexpr int32_t kChannelBgaPoor = 6;
inline constexpr int32_t kChannelBgaLayer = 7;
inline constexpr int32_t kFirstSide2Channel = 21;

// The modern reading (an option) adds to the classic channels:
// stops (their value is the stop's length in units at the tempo in force),
inline constexpr int32_t kChannelStop = 9;
// landmines, kept apart from the notes: lane channel + this offset
// (D1-D9 -> 111-119, E1-E9 -> 121-129); the value is the damage,
inline constexpr int32_t kMineChannelOffset = 100;
// and base-36 slot numbers "00"-"ZZ" for sounds and pictures. The classic
// reading only ever names the first kMediaSlots of them.
inline constexpr int32_t kMaxMediaSlots = 36 * 36;

// What a lane object is: a note, or one end of a long note (the head and its
// tail are the next two objects of the lane that carry these kinds).
enum class NoteKind : uint8_t { kNote = 0, kLongHead = 1, kLongTail = 2 };

// Booleans in memory follow the original convention: true is all bits set.
using Flag16 = int16_t;
inline constexpr Flag16 kTrue16 = -1;

struct ChartObject {
  int32_t measure = 0;
  int32_t y = 0;                    // raw measure x 192 + tick, then the scaled position
  int32_t tick = 0;                 // 0-191 inside the measure
  int32_t channel = 0;              // BMS channel, or kChannelBarLine
  int32_t value = 0;                // sound slot, picture slot or tempo
  Flag16 done = 0;                  // set by the play engine as the object is handled
  NoteKind kind = NoteKind::kNote;  // modern reading only; in the padding
};
static_assert(sizeof(ChartObject) == 24);

struct KeySoundChange {
  int32_t channel = 0;
  int32_t y = 0;
  int32_t value = 0;
};
static_assert(sizeof(KeySoundChange) == 12);

struct PictureRect {
  int32_t left = 0;
  int32_t top = 0;
  int32_t width = 0;
  int32_t height = 0;
};

// Header values a chart file sets. They survive from the previous load when a
// chart leaves a command out. The play list's header reader fills one too.
struct ChartHeader {
  std::string title;
  std::string artist;
  std::string genre;
  float bpm = 0.0f;
  int32_t player = 0;
  int32_t playLevel = 0;
  int32_t rank = 0;
  int32_t total = 0;
  int32_t volWav = 0;
  std::string midiFile;
};

struct Chart : ChartHeader {
  std::string path;
  std::string directory;  // path up to and including its last separator

  int32_t maxMeasure = 0;
  int32_t objectCount = 0;
  std::array<int32_t, 2> totalNotes{};
  std::array<Flag16, 2> sideUsed{};
  std::array<int32_t, 2> sidePlayer{};
  int32_t lengthMs = 0;
  int32_t playLengthMs = 0;  // the play loop's own copy of lengthMs
  int32_t bmsId = 0;
  std::string marquee;
  int32_t marqueeLength = 0;  // in characters
  std::array<float, 2> gaugePerNote{};
  std::array<double, 2> pointsPerNote{};
  float effectiveBpm = 0.0f;
  float unitsPerMs = 0.0f;

  std::array<ChartObject, kMaxObjects> objects{};
  int32_t soundChangeCount = 0;
  std::array<KeySoundChange, kMaxSoundChanges> soundChanges{};
  // Multiplier of the standard measure per measure; 0 = not set by the chart.
  std::array<float, kMaxMeasure + 1> measureLength{};

  // Media slot tables. The sounds and pictures themselves live in the media
  // layer under the same slot numbers; the chart keeps what the reader learnt.
  std::array<std::string, kMaxMediaSlots> wavName{};  // as written, trimmed
  std::array<std::string, kMaxMediaSlots> bmpName{};
  std::array<int32_t, kMaxMediaSlots> soundBaseFrequency{};
  std::array<float, kMaxMediaSlots> soundSize{};  // bytes of decoded data
  std::array<PictureRect, kMaxMediaSlots> pictureRect{};

  // Set by the modern reading: the play engine then takes the time of every
  // position from `timing` (fractional tempos, stops) instead of the channel
  // 3 objects, and lane objects may be long-note ends or mines.
  bool modern = false;
  TimingMap timing;
  // The modern reading drew for random blocks: every play reads it again.
  bool randomDraws = false;

  // Position of the last object in table order (0 when there is none).
  int32_t LastY() const { return objectCount > 0 ? objects[objectCount - 1].y : 0; }
};

}  // namespace vremo
