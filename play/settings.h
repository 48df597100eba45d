#pragma once
// The user's options: one typed struct that the play engine, the renderer
// and the main window read directly, with the values a fresh install starts
// with. The settings file (shell) and the tool modes' --option NAME=VALUE set
// them by key through SetOption, so both follow the same conversion rules.
// UI thread only.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace vremo {

inline constexpr int32_t kDefaultSleepMs = 5;
inline constexpr std::string_view kDefaultRectFile = "default.vrd";

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
};

using OptionField = std::variant<bool*, int16_t*, int32_t*, float*, std::string*>;

// One key of the settings file, with the member it fills.
struct SettingsKey {
  std::string_view section;
  std::string_view key;
  OptionField (*field)(Settings&);
};

// Every key in the order the settings file is read.
std::span<const SettingsKey> SettingsKeys();

// Finds "Key" among the Setting and NoteSetting keys, or "Section.Key" for
// any key (MainForm.Left); names match without regard to case.
const SettingsKey* FindSettingsKey(std::string_view name);

// Sets one option from its text: booleans "True"/"False" or a number (zero is
// false), numbers with a point, whole-number options rounded (halves to
// even). Unknown names and values that do not convert change nothing.
bool SetOption(Settings& settings, std::string_view name, std::string_view value);
// The same for a whole "NAME=VALUE" text.
bool SetOptionText(Settings& settings, std::string_view nameEqualsValue);

// The value as the settings file writes it: "True"/"False", shortest decimal.
std::string OptionText(const Settings& settings, const SettingsKey& key);

}  // namespace vremo
