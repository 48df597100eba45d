// JSON writer for the compiled chart.
#include "chart/chart_dump.h"

#include "chart/numbers.h"

#include <cmath>
#include <cstdio>

namespace vremo {
namespace {

void AppendString(std::string& out, std::string_view text) {
  out += '"';
  for (unsigned char c : text) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (c < 0x20) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
          out += escaped;
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  out += '"';
}

template <typename Float>
void AppendFloat(std::string& out, Float value) {
  if (std::isnan(value)) {
    out += "\"nan\"";
  } else if (std::isinf(value)) {
    out += value > 0 ? "\"inf\"" : "\"-inf\"";
  } else {
    out += ShortestDecimal(value);
  }
}

class JsonObject {
 public:
  explicit JsonObject(std::string& out) : out_(out) { out_ += '{'; }
  ~JsonObject() { out_ += '}'; }
  std::string& Key(std::string_view key) {
    if (!first_) out_ += ',';
    first_ = false;
    AppendString(out_, key);
    out_ += ':';
    return out_;
  }

 private:
  std::string& out_;
  bool first_ = true;
};

template <typename T, typename Fn>
void AppendArray(std::string& out, const T& items, Fn appendItem) {
  out += '[';
  bool first = true;
  for (const auto& item : items) {
    if (!first) out += ',';
    first = false;
    appendItem(item);
  }
  out += ']';
}

void AppendInts(std::string& out, std::initializer_list<int32_t> values) {
  AppendArray(out, values, [&out](int32_t v) { out += std::to_string(v); });
}

// Slot ids as the chart wrote them: hexadecimal, base 36 in the modern reading.
void AppendSlotNames(std::string& out, const std::array<std::string, kMaxMediaSlots>& names, bool modern) {
  static constexpr char kDigits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  const int base = modern ? 36 : 16;
  JsonObject object(out);
  for (int slot = 0; slot < kMaxMediaSlots; ++slot) {
    if (names[slot].empty()) continue;
    const char id[3] = {kDigits[slot / base], kDigits[slot % base], 0};
    AppendString(object.Key(id), names[slot]);
  }
}

}  // namespace

std::string DumpChartJson(const Chart& c) {
  std::string out;
  out.reserve(64 * static_cast<size_t>(c.objectCount) + 4096);
  {
    JsonObject j(out);
    AppendString(j.Key("path"), c.path);
    AppendString(j.Key("title"), c.title);
    AppendString(j.Key("artist"), c.artist);
    AppendString(j.Key("genre"), c.genre);
    AppendFloat(j.Key("bpm"), c.bpm);
    j.Key("player") += std::to_string(c.player);
    j.Key("playLevel") += std::to_string(c.playLevel);
    j.Key("rank") += std::to_string(c.rank);
    j.Key("total") += std::to_string(c.total);
    j.Key("volWav") += std::to_string(c.volWav);
    AppendString(j.Key("midiFile"), c.midiFile);
    j.Key("maxMeasure") += std::to_string(c.maxMeasure);
    j.Key("objectCount") += std::to_string(c.objectCount);
    AppendInts(j.Key("totalNotes"), {c.totalNotes[0], c.totalNotes[1]});
    AppendArray(j.Key("sideUsed"), c.sideUsed, [&out](Flag16 used) { out += used != 0 ? "true" : "false"; });
    AppendInts(j.Key("sidePlayer"), {c.sidePlayer[0], c.sidePlayer[1]});
    j.Key("lengthMs") += std::to_string(c.lengthMs);
    j.Key("bmsId") += std::to_string(c.bmsId);
    AppendString(j.Key("marquee"), c.marquee);
    AppendArray(j.Key("gaugePerNote"), c.gaugePerNote, [&out](float v) { AppendFloat(out, v); });
    AppendArray(j.Key("pointsPerNote"), c.pointsPerNote, [&out](double v) { AppendFloat(out, v); });
    AppendFloat(j.Key("effectiveBpm"), c.effectiveBpm);
    AppendFloat(j.Key("unitsPerMs"), c.unitsPerMs);
    std::string& objects = j.Key("objects");
    objects += '[';
    for (int32_t k = 0; k < c.objectCount; ++k) {
      const ChartObject& o = c.objects[k];
      if (k > 0) objects += ',';
      AppendInts(objects, {o.measure, o.y, o.tick, o.channel, o.value});
    }
    objects += ']';
    std::string& changes = j.Key("keySoundChanges");
    changes += '[';
    for (int32_t k = 0; k < c.soundChangeCount; ++k) {
      const KeySoundChange& s = c.soundChanges[k];
      if (k > 0) changes += ',';
      AppendInts(changes, {s.channel, s.y, s.value});
    }
    changes += ']';
    AppendSlotNames(j.Key("wav"), c.wavName, c.modern);
    AppendSlotNames(j.Key("bmp"), c.bmpName, c.modern);
  }
  out += '\n';
  return out;
}

}  // namespace vremo
