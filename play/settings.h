#pragma once
// The user's options: one typed struct that the play engine, the renderer
// and the main window read directly, with the values a fresh install starts
// with. The settings file (shell) and the tool modes' --option NAME=VALUE set
// them by key through SetOption, so both follow the same conversion rules.
// UI thread only.

#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace vremo {

inline constexpr int32_t kDefaultSleepMs = 5;
inline constexpr std::string_view kDefaultRectFile = "default.vrd";

// The ranges the option panel's controls offer; values read from the
// settings file are brought into them.
inline constexpr int32_t kMinSleepMs = 0;
inline constexpr int32_t kMaxSleepMs = 20;
inline constexpr float kMinHiSpeed = 0.5f;
inline constexpr float kMaxHiSpeed = 8.0f;
inline constexpr float kMinRealHiSpeed = 0.5f;
inline constexpr float kMaxRealHiSpeed = 2.0f;
// Media decoding threads a load may start (LoadThreads; 0 means one per core).
inline constexpr int32_t kMaxLoadThreads = 64;
// Window places: X11 keeps coordinates and sizes in 16 bits.
inline constexpr float kMinWindowCoordinate = -32768.0f;
inline constexpr float kMaxWindowCoordinate = 32767.0f;
// Frames per sound-device block: fewer is a shorter delay from a fired
// sound to the speaker, more is safer on a busy machine.
inline constexpr int32_t kDefaultAudioBufferFrames = 256;
inline constexpr int32_t kMinAudioBufferFrames = 64;
inline constexpr int32_t kMaxAudioBufferFrames = 1024;
// Audio, display and judgement offsets in milliseconds.
inline constexpr int32_t kMinOffsetMs = -500;
inline constexpr int32_t kMaxOffsetMs = 500;
// An offset as the play uses it: --option takes any number, the play no more
// than the panel offers.
inline constexpr int32_t OffsetMs(int32_t ms) {
  return ms < kMinOffsetMs ? kMinOffsetMs : ms > kMaxOffsetMs ? kMaxOffsetMs : ms;
}

// A window's state as the settings file keeps it.
inline constexpr int16_t kWindowNormal = 0;
inline constexpr int16_t kWindowMinimised = 1;
inline constexpr int16_t kWindowMaximised = 2;

struct WindowPlacement {
  float left = 0.0f;
  float top = 0.0f;
  float width = 0.0f;
  float height = 0.0f;
  int16_t windowState = 0;
};

struct Settings {
  WindowPlacement mainForm;
  WindowPlacement playList;

  // Section Setting.
  bool titleDisplay = false;
  int32_t sleepMs = kDefaultSleepMs;  // pause per pass of the play loop
  bool noBga = false;
  bool noWav = false;
  bool showObj = true;
  bool showBga = true;
  bool playSound = true;
  bool playKeySound = true;
  bool userPlay = false;
  bool userRec = false;
  bool showRec = false;
  bool playRec = false;
  bool demoMode = false;
  bool showVLine = false;
  bool showGlid = false;
  float hiSpeed = 1.0f;
  float realHiSpeed = 1.0f;
  bool polMode = false;
  std::string rect{kDefaultRectFile};
  bool showGauge = true;
  bool dontStretch = false;
  bool dontWait = false;
  int16_t wndMode = 0;
  int16_t wndAutoHide = 0;

  // Section NoteSetting.
  bool hidden = false;
  bool sudden = false;
  bool stealth = false;
  bool reverse = false;
  bool accel = false;
  bool nazo = false;

  // Beyond the classic player: written to the settings file only once they
  // differ from these defaults, so a file saved with them untouched stays
  // byte for byte what it was.
  bool modernReading = false;                             // long notes, stops, random blocks, LF lines
  int32_t audioBufferFrames = kDefaultAudioBufferFrames;  // sound-device block, applied when it opens
  bool vsync = false;           // present frames in step with the display's refresh, not free-running
  bool judgeAtKeyTime = false;  // presses judged at their own time, not the next pass
  // Offsets in ms; positive means the player hears, sees or presses that much
  // late, and the play makes up for it.
  int32_t audioOffsetMs = 0;    // sounds start this much earlier
  int32_t displayOffsetMs = 0;  // notes are drawn this much ahead
  int32_t judgeOffsetMs = 0;    // presses are judged this much earlier
  int32_t loadThreads = 0;      // media decoding threads; 0: one per core
};

using OptionField = std::variant<bool*, int16_t*, int32_t*, float*, std::string*>;

// One key of the settings file, with the member it fills and, for a number,
// the range its control offers (unbounded when there is no control).
struct SettingsKey {
  std::string_view section;
  std::string_view key;
  OptionField (*field)(Settings&);
  double minimum = -std::numeric_limits<double>::infinity();
  double maximum = std::numeric_limits<double>::infinity();
};

// Every classic key in the order the settings file is read.
std::span<const SettingsKey> SettingsKeys();
// The newer keys, read after the classic ones and written only once set.
std::span<const SettingsKey> ExtensionSettingsKeys();

// Finds "Key" among the Setting and NoteSetting keys, or "Section.Key" for
// any key (MainForm.Left); names match without regard to case.
const SettingsKey* FindSettingsKey(std::string_view name);

// Sets one option from its text: booleans "True"/"False" or a number (zero is
// false), numbers with a point, whole-number options rounded (halves to
// even). Unknown names and values that do not convert change nothing.
bool SetOption(Settings& settings, std::string_view name, std::string_view value);
// The same for a whole "NAME=VALUE" text.
bool SetOptionText(Settings& settings, std::string_view nameEqualsValue);

// Reads one key's text as the settings file does: like SetOption, except
// that a number outside its key's range is brought to the nearer end (a
// Sleep of days would leave every command unanswered). A number that is
// missing or does not convert leaves the field as it was.
void ReadOption(Settings& settings, const SettingsKey& key, std::string_view text);

// The value as the settings file writes it: "True"/"False", shortest decimal.
std::string OptionText(const Settings& settings, const SettingsKey& key);

// Whether a check box bound to the key shows a tick: a boolean, or a number
// that is not zero (WndAutoHide holds the check box's 0 or 1).
bool OptionIsOn(const Settings& settings, const SettingsKey& key);

}  // namespace vremo
