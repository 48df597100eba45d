// Timeline lines for both readings.
#include "chart/timeline.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <tuple>

#include "chart/chart_compiler.h"
#include "chart/numbers.h"

namespace vremo {
namespace {

constexpr double kMicrosPerMs = 1000.0;

struct Entry {
  double ms;
  std::string channel;
  std::string value;
};

// Sorted as printed: equal printed times order by channel, then value.
std::vector<std::string> Lines(std::vector<Entry> entries) {
  auto key = [](const Entry& e) { return std::make_tuple(std::llround(e.ms * kMicrosPerMs), e.channel, e.value); };
  std::stable_sort(entries.begin(), entries.end(), [&key](const Entry& a, const Entry& b) { return key(a) < key(b); });
  std::vector<std::string> lines;
  lines.reserve(entries.size());
  for (const Entry& e : entries) {
    char time[64];
    std::snprintf(time, sizeof time, "%.3f", e.ms);
    lines.push_back(std::string(time) + "\t" + e.channel + "\t" + e.value);
  }
  return lines;
}

bool ClassicTimelineChannel(int32_t channel) {
  return channel == kChannelBackgroundSound || channel == kChannelTempo ||
         (channel >= kFirstLaneChannel && channel <= kLastLaneChannel && channel % 10 != 0);
}

}  // namespace

std::vector<std::string> ModernTimeline(const std::vector<ModernObject>& objects, const TimingMap& timing) {
  std::vector<Entry> entries;
  entries.reserve(objects.size());
  for (const ModernObject& o : objects) {
    if (o.code != kCodeBackgroundSound && o.code != kCodeTempo && !LaneOfCode(o.code)) continue;
    // Channel 03 values are hexadecimal in the file.
    char hex[8];
    std::snprintf(hex, sizeof hex, "%02X", static_cast<unsigned>(o.pair));
    entries.push_back({timing.TimeAt(o.position), Base36Text(o.code), o.code == kCodeTempo ? hex : Base36Text(o.pair)});
  }
  return Lines(std::move(entries));
}

std::vector<std::string> ClassicTimeline(const Chart& chart) {
  std::vector<Entry> entries;
  TempoEnd tempo = TempoAtStart(chart.bpm);
  for (int32_t k = 0; k < chart.objectCount; ++k) {
    const ChartObject& object = chart.objects[k];
    FollowTempoChange(tempo, object);
    if (!ClassicTimelineChannel(object.channel)) continue;
    char channel[16];
    char value[16];
    std::snprintf(channel, sizeof channel, "%02d", static_cast<int>(object.channel));
    std::snprintf(value, sizeof value, "%02X", static_cast<unsigned>(object.value));
    entries.push_back({(object.y - tempo.offset) * kMsPerUnitAtBpm1 / tempo.tempo, channel, value});
  }
  return Lines(std::move(entries));
}

}  // namespace vremo
