#include "tools/make_demo/song.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <map>
#include <numeric>
#include <set>
#include <sstream>
#include <stdexcept>
#include <tuple>

#include "tools/make_demo/art.h"

namespace demo {
namespace {

// ---------------------------------------------------------------------------
// Harmony

struct Chord {
  const char* name;
  std::array<int, 3> pitch_classes;
  int bass_root;              // MIDI note of the bass
  std::array<int, 3> voicing; // MIDI notes of the pad, kept near middle C
};

// Voicings stay close to each other so the pad moves smoothly.
const std::array<Chord, 6> kChords = {{
    {"Am", {9, 0, 4}, 45, {57, 60, 64}},
    {"C", {0, 4, 7}, 48, {55, 60, 64}},
    {"Dm", {2, 5, 9}, 38, {57, 62, 65}},
    {"Em", {4, 7, 11}, 40, {55, 59, 64}},
    {"F", {5, 9, 0}, 41, {57, 60, 65}},
    {"G", {7, 11, 2}, 43, {55, 59, 62}},
}};

const Chord& chord_named(const std::string& name) {
  for (const Chord& c : kChords) {
    if (name == c.name) return c;
  }
  throw std::runtime_error("unknown chord " + name);
}

// "C5" -> 72. Only natural notes: the song stays in C major / A minor.
int parse_note(const std::string& text) {
  static const std::map<char, int> kClass = {{'C', 0}, {'D', 2}, {'E', 4}, {'F', 5},
                                             {'G', 7}, {'A', 9}, {'B', 11}};
  if (text.size() != 2 || !kClass.contains(text[0]) || text[1] < '0' || text[1] > '9') {
    throw std::runtime_error("bad note " + text);
  }
  return 12 * (text[1] - '0' + 1) + kClass.at(text[0]);
}

std::string note_name(int midi) {
  static const char* const kNames[] = {"c", "c#", "d", "d#", "e", "f", "f#", "g", "g#", "a", "a#", "b"};
  return std::string(kNames[midi % 12]) + std::to_string(midi / 12 - 1);
}

// Highest chord tone a third to a sixth under the melody note.
int harmony_under(int melody, const Chord& chord) {
  for (int m = melody - 3; m >= melody - 9; --m) {
    for (int pc : chord.pitch_classes) {
      if (m % 12 == pc) return m;
    }
  }
  throw std::runtime_error("no harmony under " + note_name(melody));
}

// Keys are laid out by note letter, C on key 1 up to B on key 7, so the
// lanes follow the melody's rise and fall and a third never shares a lane.
int key_channel(int midi) {
  static const std::map<int, int> kLane = {{0, 1}, {2, 2}, {4, 3}, {5, 4}, {7, 5}, {9, 6}, {11, 7}};
  static const std::array<int, 8> kChannel = {0, 11, 12, 13, 14, 15, 18, 19};
  return kChannel[static_cast<std::size_t>(kLane.at(midi % 12))];
}

// ---------------------------------------------------------------------------
// Arrangement

enum class Style { Intro, VerseLight, Verse, Fill, Bridge, BridgeFill, Chorus, ChorusFill, Cadence, End };

struct Bar {
  std::vector<std::string> chords;  // one chord, or two splitting the bar
  Style style;
  const char* melody;  // one token per step: note, "." rest, "X+Y" chord
  int harmony;         // beats that get a chord tone under the melody: 0, 2 or 4
  double length = 1.0;
};

// Verse, a 3/4 pickup bar, a second part, two choruses and a short ending.
const std::vector<Bar>& bars() {
  static const std::vector<Bar> kBars = {
      {{"Am"}, Style::Intro, ". . . . A4 . C5 D5", 0},  // pickup, leaves time to get ready
      // 001 verse
      {{"Am"}, Style::VerseLight, "E5 . E5 D5 C5 . D5 E5", 2},
      {{"F"}, Style::VerseLight, "F5 . E5 D5 C5 . A4 .", 2},
      {{"C"}, Style::VerseLight, "G4 . C5 D5 E5 . G5 .", 2},
      {{"G"}, Style::VerseLight, "G5 . F5 E5 D5 . B4 .", 2},
      {{"Am"}, Style::Verse, "E5 . E5 D5 C5 . D5 E5", 4},
      {{"F"}, Style::Verse, "A5 . G5 F5 E5 . C5 .", 4},
      {{"C"}, Style::Verse, "E5 . D5 C5 G4 . C5 D5", 4},
      {{"G"}, Style::Verse, "D5 . . . B4 . G4 .", 4},
      // 009 three beats climbing into the second part
      {{"G"}, Style::Fill, "G4 A4 B4 C5 D5 E5", 0, 0.75},
      // 010 second part
      {{"F"}, Style::Bridge, "F5 . C5 . F5 G5 A5 .", 4},
      {{"G"}, Style::Bridge, "G5 . D5 . G5 A5 G5 F5", 4},
      {{"Em"}, Style::Bridge, "E5 . B4 . E5 D5 E5 G5", 4},
      {{"Am"}, Style::Bridge, "A5 . E5 . C5 . E5 .", 4},
      {{"Dm"}, Style::Bridge, "D5 . F5 . A5 . F5 D5", 4},
      {{"Em"}, Style::Bridge, "E5 . G5 . B4 . E5 G5", 4},
      {{"F"}, Style::Bridge, "A5 G5 F5 . C5 . F5 .", 4},
      {{"G"}, Style::BridgeFill, "G5 F5 D5 B4 D5 C5 B4 G4", 4},
      // 018 chorus, a little faster
      {{"F"}, Style::Chorus, "A4 C5 F5 . E5 . F5 G5", 4},
      {{"G"}, Style::Chorus, "G5 . F5 E5 D5 . E5 F5", 4},
      {{"Em"}, Style::Chorus, "E5 . D5 E5 G5 . E5 D5", 4},
      {{"Am"}, Style::Chorus, "C5 . E5 . A5 . G5 E5", 4},
      {{"F"}, Style::Chorus, "A4 C5 F5 . E5 . F5 G5", 4},
      {{"G"}, Style::Chorus, "G5 . A5 . G5 F5 E5 D5", 4},
      {{"C"}, Style::Chorus, "E5 . D5 C5 D5 . E5 .", 4},
      {{"C"}, Style::ChorusFill, "C5 . . . G4 . . . C5 . . . E5 D5 C5 B4", 4},
      // 026 second chorus, busier
      {{"F"}, Style::Chorus, "A4 C5 F5 A5 G5 F5 E5 F5", 4},
      {{"G"}, Style::Chorus, "G5 . . . F5 . E5 . D5 . . . E5 . F5 G5", 4},
      {{"Em"}, Style::Chorus, "E5 . D5 E5 G5 A5 G5 E5", 4},
      {{"Am"}, Style::Chorus, "C5 D5 E5 . A5 . G5 E5", 4},
      {{"F"}, Style::Chorus, "A4 C5 F5 . E5 . F5 G5", 4},
      {{"G"}, Style::ChorusFill, "G5 . . . F5 . . . D5 . E5 . F5 E5 D5 B4", 4},
      // 032 slowing down to the last chord
      {{"Dm", "G"}, Style::Cadence, "F5 . E5 D5 B4 . G4 .", 2},
      {{"C"}, Style::End, "C5+G4+E4", 0},
  };
  return kBars;
}

// Background rhythm per style, as step indices on a grid of `grid` steps.
struct Pattern {
  int grid;
  std::vector<int> kick, snare, hat, bass, pad;
};

Pattern pattern_for(Style style) {
  switch (style) {
    case Style::Intro: return {8, {}, {}, {0, 2, 4, 6}, {}, {0, 4}};
    case Style::VerseLight: return {8, {0, 4}, {}, {1, 3, 5, 7}, {0, 3, 4, 6}, {0, 4}};
    case Style::Verse: return {8, {0, 4, 5}, {2, 6}, {1, 3, 5, 7}, {0, 3, 4, 6}, {0, 4}};
    case Style::Fill: return {12, {0}, {4, 8, 9, 10, 11}, {2, 6}, {0, 6}, {0}};
    case Style::Bridge: return {8, {0, 3, 4}, {2, 6}, {1, 3, 5, 7}, {0, 3, 4, 7}, {0, 4}};
    case Style::BridgeFill: return {16, {0, 6, 8}, {4, 12, 13, 14, 15}, {2, 6, 10}, {0, 6, 8, 14}, {0, 8}};
    case Style::Chorus: return {8, {0, 2, 4, 6}, {2, 6}, {1, 3, 5, 7}, {0, 1, 3, 4, 5, 7}, {0, 4}};
    case Style::ChorusFill: return {16, {0, 4, 8, 12}, {4, 12, 14, 15}, {2, 6, 10}, {0, 2, 6, 8, 10}, {0, 8}};
    case Style::Cadence: return {8, {0, 4}, {2, 6}, {1, 3, 5}, {0, 2, 4, 6}, {0, 4}};
    case Style::End: return {8, {0}, {}, {}, {0}, {0, 4}};
  }
  throw std::runtime_error("unknown style");
}

enum class Scratch { Crash, Zip };

struct Timed {
  int measure;
  int grid;
  int step;
};

// Turntable: a crash at each section start, a zip on the last eighth before.
const std::vector<std::pair<Timed, Scratch>>& scratches() {
  static const std::vector<std::pair<Timed, Scratch>> kList = {
      {{1, 8, 0}, Scratch::Crash},  {{4, 8, 7}, Scratch::Zip},    {{8, 8, 6}, Scratch::Zip},
      {{9, 6, 5}, Scratch::Zip},    {{10, 8, 0}, Scratch::Crash}, {{11, 8, 7}, Scratch::Zip},
      {{13, 8, 7}, Scratch::Zip},   {{15, 8, 7}, Scratch::Zip},   {{17, 8, 7}, Scratch::Zip},
      {{18, 8, 0}, Scratch::Crash}, {{19, 8, 7}, Scratch::Zip},   {{21, 8, 7}, Scratch::Zip},
      {{23, 8, 7}, Scratch::Zip},   {{25, 8, 7}, Scratch::Zip},   {{26, 8, 0}, Scratch::Crash},
      {{27, 8, 7}, Scratch::Zip},   {{29, 8, 7}, Scratch::Zip},   {{31, 8, 7}, Scratch::Zip},
      {{33, 8, 0}, Scratch::Crash},
  };
  return kList;
}

// Tempo: 140 at the start, 150 for the choruses, then a slow-down.
constexpr int kStartBpm = 140;
const std::vector<std::pair<Timed, int>>& tempo_changes() {
  static const std::vector<std::pair<Timed, int>> kList = {
      {{18, 1, 0}, 150},
      {{32, 4, 2}, 132},
      {{33, 1, 0}, 120},
  };
  return kList;
}

// ---------------------------------------------------------------------------
// Chart objects and text

// Background sound lines, one per instrument so each stays readable.
enum Line { kKickLine, kSnareLine, kHatLine, kBassLine, kPadLine };

struct Object {
  int measure;
  int channel;
  int line;  // several background lines per measure; 0 elsewhere
  int num;   // position = num / den of the measure
  int den;
  int value;
};

std::string hex2(int value) {
  if (value < 1 || value > 255) throw std::runtime_error("slot out of range");
  char text[3];
  std::snprintf(text, sizeof text, "%02X", value);
  return text;
}

// One "#mmmcc:data" line on the coarsest grid that holds every object.
std::string channel_line(int measure, int channel, const std::vector<Object>& objects) {
  int grid = 1;
  for (const Object& o : objects) grid = std::lcm(grid, o.den);
  std::vector<int> cells(static_cast<std::size_t>(grid), 0);
  for (const Object& o : objects) {
    auto& cell = cells[static_cast<std::size_t>(o.num * (grid / o.den))];
    if (cell != 0) throw std::runtime_error("two objects share a cell in measure " + std::to_string(measure));
    cell = o.value;
  }
  char head[16];
  std::snprintf(head, sizeof head, "#%03d%02d:", measure, channel);
  std::string text = head;
  for (int v : cells) text += v == 0 ? "00" : hex2(v);
  return text;
}

class ChartBuilder {
 public:
  void add(int measure, int channel, int line, int step, int grid, int value) {
    const int g = std::gcd(step, grid);
    objects_.push_back({measure, channel, line, step / g, grid / g, value});
  }
  const std::vector<Object>& objects() const { return objects_; }

  // Refuses two notes on one lane at the same moment.
  void check_lanes() const {
    std::set<std::tuple<int, int, int, int>> seen;
    for (const Object& o : objects_) {
      if (o.channel < 11 || o.channel > 19) continue;
      if (!seen.insert({o.measure, o.channel, o.num, o.den}).second) {
        throw std::runtime_error("lane collision in measure " + std::to_string(o.measure));
      }
    }
  }

  std::string body(const std::vector<double>& lengths) const {
    std::map<std::pair<int, int>, std::map<int, std::vector<Object>>> grouped;
    for (const Object& o : objects_) grouped[{o.measure, o.channel}][o.line].push_back(o);
    std::ostringstream out;
    for (int m = 0; m < static_cast<int>(lengths.size()); ++m) {
      for (int channel = 1; channel <= 99; ++channel) {
        if (channel == 2) {
          if (lengths[static_cast<std::size_t>(m)] != 1.0) {
            char text[32];
            std::snprintf(text, sizeof text, "#%03d02:%g\r\n", m, lengths[static_cast<std::size_t>(m)]);
            out << text;
          }
          continue;
        }
        auto it = grouped.find({m, channel});
        if (it == grouped.end()) continue;
        for (const auto& [line, list] : it->second) out << channel_line(m, channel, list) << "\r\n";
      }
    }
    return out.str();
  }

 private:
  std::vector<Object> objects_;
};

double seconds_of(const std::vector<double>& lengths) {
  double seconds = 0.0;
  double bpm = kStartBpm;
  for (int m = 0; m < static_cast<int>(lengths.size()); ++m) {
    const double beats = 4.0 * lengths[static_cast<std::size_t>(m)];
    double at = 0.0;  // fraction of the measure already timed
    for (const auto& [when, tempo] : tempo_changes()) {
      if (when.measure != m) continue;
      const double pos = static_cast<double>(when.step) / when.grid;
      seconds += (pos - at) * beats * 60.0 / bpm;
      at = pos;
      bpm = tempo;
    }
    seconds += (1.0 - at) * beats * 60.0 / bpm;
  }
  return seconds;
}

std::vector<std::string> split(const std::string& text, char by) {
  std::vector<std::string> parts;
  std::string part;
  std::istringstream in(text);
  while (std::getline(in, part, by)) {
    if (!part.empty()) parts.push_back(part);
  }
  return parts;
}

}  // namespace

DemoSong compose() {
  DemoSong song;
  ChartBuilder chart;
  const auto& song_bars = bars();

  // Sound slots: drums, then bass and pad per chord, then the piano notes
  // in the order of pitch.
  int next_slot = 1;
  std::vector<std::string> wav_lines;
  auto add_sound = [&](const std::string& name, std::function<Samples()> make) {
    const int slot = next_slot++;
    song.sounds.push_back({name, std::move(make)});
    wav_lines.push_back("#WAV" + hex2(slot) + " " + name);
    return slot;
  };
  const int kick_slot = add_sound("kick.wav", kick);
  const int snare_slot = add_sound("snare.wav", snare);
  const int hat_slot = add_sound("hihat.wav", hihat);
  const int crash_slot = add_sound("crash.wav", crash);
  const int zip_slot = add_sound("scratch.wav", scratch);
  std::map<std::string, int> bass_slot;
  std::map<std::string, int> pad_slot;
  for (const Chord& c : kChords) {
    std::string lower = c.name;
    for (char& ch : lower) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    const int root = c.bass_root;
    bass_slot[c.name] = add_sound("bass_" + note_name(root) + ".wav", [root] { return bass(root); });
    const std::vector<int> voicing(c.voicing.begin(), c.voicing.end());
    pad_slot[c.name] = add_sound("pad_" + lower + ".wav", [voicing] { return pad(voicing); });
  }

  // Key notes: melody plus the chord tones under it on the chosen beats.
  struct KeyNote {
    int measure, grid, step, midi;
  };
  std::vector<KeyNote> key_notes;
  std::vector<double> lengths;
  for (int m = 0; m < static_cast<int>(song_bars.size()); ++m) {
    const Bar& bar = song_bars[static_cast<std::size_t>(m)];
    lengths.push_back(bar.length);
    const auto tokens = split(bar.melody, ' ');
    const int grid = static_cast<int>(tokens.size());
    const int beats = static_cast<int>(4 * bar.length);
    const int steps_per_beat = std::max(1, grid / beats);
    for (int step = 0; step < grid; ++step) {
      const std::string& token = tokens[static_cast<std::size_t>(step)];
      if (token == ".") continue;
      const auto chord_notes = split(token, '+');
      for (const std::string& n : chord_notes) key_notes.push_back({m, grid, step, parse_note(n)});
      const bool on_beat = step % steps_per_beat == 0;
      const int beat = step / steps_per_beat;
      const bool wanted = bar.harmony == 4 || (bar.harmony == 2 && beat % 2 == 0);
      if (on_beat && wanted && chord_notes.size() == 1) {
        const auto index = static_cast<std::size_t>(step * bar.chords.size() / grid);
        const Chord& chord = chord_named(bar.chords[index]);
        key_notes.push_back({m, grid, step, harmony_under(parse_note(token), chord)});
      }
    }
  }
  std::set<int> pitches;
  for (const KeyNote& k : key_notes) pitches.insert(k.midi);
  std::map<int, int> piano_slot;
  for (int midi : pitches) {
    piano_slot[midi] = add_sound("ep_" + note_name(midi) + ".wav", [midi] { return electric_piano(midi); });
  }
  for (const KeyNote& k : key_notes) {
    chart.add(k.measure, key_channel(k.midi), 0, k.step, k.grid, piano_slot.at(k.midi));
  }
  for (const auto& [when, kind] : scratches()) {
    chart.add(when.measure, 16, 0, when.step, when.grid, kind == Scratch::Crash ? crash_slot : zip_slot);
  }

  // Background: drums, bass and pad follow each bar's style and chords.
  for (int m = 0; m < static_cast<int>(song_bars.size()); ++m) {
    const Bar& bar = song_bars[static_cast<std::size_t>(m)];
    const Pattern p = pattern_for(bar.style);
    auto chord_at = [&](int step) {
      return bar.chords[static_cast<std::size_t>(step * static_cast<int>(bar.chords.size()) / p.grid)];
    };
    for (int s : p.kick) chart.add(m, 1, kKickLine, s, p.grid, kick_slot);
    for (int s : p.snare) chart.add(m, 1, kSnareLine, s, p.grid, snare_slot);
    for (int s : p.hat) chart.add(m, 1, kHatLine, s, p.grid, hat_slot);
    for (int s : p.bass) chart.add(m, 1, kBassLine, s, p.grid, bass_slot.at(chord_at(s)));
    for (int s : p.pad) chart.add(m, 1, kPadLine, s, p.grid, pad_slot.at(chord_at(s)));
  }

  for (const auto& [when, bpm] : tempo_changes()) chart.add(when.measure, 3, 0, when.step, when.grid, bpm);

  // Pictures: base changes with each section, layers pulse in the choruses.
  std::vector<std::string> bmp_lines;
  auto add_picture = [&](const std::string& name, std::function<QImage()> make) {
    const int slot = static_cast<int>(song.pictures.size()) + 1;
    song.pictures.push_back({name, std::move(make)});
    bmp_lines.push_back("#BMP" + hex2(slot) + " " + name);
    return slot;
  };
  const int dawn = add_picture("dawn.png", draw_dawn);
  const int hills = add_picture("hills.png", draw_hills);
  const int tide = add_picture("tide.png", draw_tide);
  const int burst = add_picture("burst.png", draw_burst);
  const int night = add_picture("night.png", draw_night);
  const int rings = add_picture("layer_rings.png", draw_rings);
  const int sparkles = add_picture("layer_sparkles.png", draw_sparkles);
  const int poor = add_picture("poor.png", draw_poor);

  chart.add(0, 6, 0, 0, 1, poor);
  const std::vector<std::pair<int, int>> bases = {{0, dawn}, {1, hills}, {10, tide}, {18, burst}, {26, night}, {33, dawn}};
  for (const auto& [m, pic] : bases) chart.add(m, 4, 0, 0, 1, pic);
  chart.add(10, 7, 0, 0, 1, sparkles);
  for (int m = 18; m <= 31; ++m) chart.add(m, 7, 0, 0, 1, m % 2 == 0 ? rings : sparkles);
  chart.add(33, 7, 0, 0, 1, rings);

  chart.check_lanes();

  std::ostringstream text;
  text << "#PLAYER 1\r\n"
       << "#GENRE Synth Pop\r\n"
       << "#TITLE Vremo Demo - Paper Lanterns\r\n"
       << "#ARTIST Vremo team\r\n"
       << "#BPM " << kStartBpm << "\r\n"
       << "#PLAYLEVEL 5\r\n"
       << "#RANK 2\r\n"
       << "#TOTAL 250\r\n"
       << "#VOLWAV 100\r\n";
  for (const std::string& line : wav_lines) text << line << "\r\n";
  for (const std::string& line : bmp_lines) text << line << "\r\n";
  text << chart.body(lengths);
  song.chart = text.str();

  song.measures = static_cast<int>(song_bars.size());
  for (const Object& o : chart.objects()) {
    ++song.objects;
    if (o.channel >= 11 && o.channel <= 19) ++song.notes;
  }
  song.tempos.push_back(kStartBpm);
  for (const auto& change : tempo_changes()) song.tempos.push_back(change.second);
  song.seconds = seconds_of(lengths);
  return song;
}

}  // namespace demo
