// The settings key table and the text conversions shared by the settings
// file and the tool modes.
#include "play/settings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "chart/chart_text.h"
#include "chart/numbers.h"

namespace vremo {
namespace {

// The two window-size options and a check box's values, as WndMode and
// WndAutoHide hold them.
constexpr int16_t kWndModeFit = 0;
constexpr int16_t kWndModeFixed = 1;
constexpr int16_t kCheckOff = 0;
constexpr int16_t kCheckOn = 1;

template <auto Member>
OptionField Field(Settings& s) {
  return &(s.*Member);
}
template <auto Placement, auto Member>
OptionField PlacementField(Settings& s) {
  return &((s.*Placement).*Member);
}

constexpr std::array kKeys = {
    SettingsKey{"MainForm", "Left", PlacementField<&Settings::mainForm, &WindowPlacement::left>, kMinWindowCoordinate,
                kMaxWindowCoordinate},
    SettingsKey{"MainForm", "Top", PlacementField<&Settings::mainForm, &WindowPlacement::top>, kMinWindowCoordinate,
                kMaxWindowCoordinate},
    SettingsKey{"MainForm", "Width", PlacementField<&Settings::mainForm, &WindowPlacement::width>, 0.0,
                kMaxWindowCoordinate},
    SettingsKey{"MainForm", "Height", PlacementField<&Settings::mainForm, &WindowPlacement::height>, 0.0,
                kMaxWindowCoordinate},
    SettingsKey{"MainForm", "WindowState", PlacementField<&Settings::mainForm, &WindowPlacement::windowState>,
                kWindowNormal, kWindowMaximised},
    SettingsKey{"Setting", "Sleep", Field<&Settings::sleepMs>, kMinSleepMs, kMaxSleepMs},
    SettingsKey{"Setting", "NoBGA", Field<&Settings::noBga>},
    SettingsKey{"Setting", "NoWAV", Field<&Settings::noWav>},
    SettingsKey{"Setting", "ShowObj", Field<&Settings::showObj>},
    SettingsKey{"Setting", "ShowBGA", Field<&Settings::showBga>},
    SettingsKey{"Setting", "PlaySound", Field<&Settings::playSound>},
    SettingsKey{"Setting", "PlayKeySound", Field<&Settings::playKeySound>},
    SettingsKey{"Setting", "UserPlay", Field<&Settings::userPlay>},
    SettingsKey{"Setting", "UserRec", Field<&Settings::userRec>},
    SettingsKey{"Setting", "ShowRec", Field<&Settings::showRec>},
    SettingsKey{"Setting", "PlayRec", Field<&Settings::playRec>},
    SettingsKey{"Setting", "DEMOMode", Field<&Settings::demoMode>},
    SettingsKey{"Setting", "ShowVLine", Field<&Settings::showVLine>},
    SettingsKey{"Setting", "ShowGlid", Field<&Settings::showGlid>},
    SettingsKey{"Setting", "HiSpeed", Field<&Settings::hiSpeed>, kMinHiSpeed, kMaxHiSpeed},
    SettingsKey{"Setting", "RealHiSpeed", Field<&Settings::realHiSpeed>, kMinRealHiSpeed, kMaxRealHiSpeed},
    SettingsKey{"Setting", "PolMode", Field<&Settings::polMode>},
    SettingsKey{"Setting", "Rect", Field<&Settings::rect>},
    SettingsKey{"Setting", "ShowGauge", Field<&Settings::showGauge>},
    SettingsKey{"Setting", "TitleDisplay", Field<&Settings::titleDisplay>},
    SettingsKey{"NoteSetting", "Hidden", Field<&Settings::hidden>},
    SettingsKey{"NoteSetting", "Sudden", Field<&Settings::sudden>},
    SettingsKey{"NoteSetting", "Stealth", Field<&Settings::stealth>},
    SettingsKey{"NoteSetting", "Reverse", Field<&Settings::reverse>},
    SettingsKey{"NoteSetting", "Accel", Field<&Settings::accel>},
    SettingsKey{"NoteSetting", "Nazo", Field<&Settings::nazo>},
    SettingsKey{"Setting", "DontStretch", Field<&Settings::dontStretch>},
    SettingsKey{"Setting", "DontWait", Field<&Settings::dontWait>},
    SettingsKey{"Setting", "WndMode", Field<&Settings::wndMode>, kWndModeFit, kWndModeFixed},
    SettingsKey{"PlayList", "Left", PlacementField<&Settings::playList, &WindowPlacement::left>, kMinWindowCoordinate,
                kMaxWindowCoordinate},
    SettingsKey{"PlayList", "Top", PlacementField<&Settings::playList, &WindowPlacement::top>, kMinWindowCoordinate,
                kMaxWindowCoordinate},
    SettingsKey{"PlayList", "Width", PlacementField<&Settings::playList, &WindowPlacement::width>, 0.0,
                kMaxWindowCoordinate},
    SettingsKey{"PlayList", "Height", PlacementField<&Settings::playList, &WindowPlacement::height>, 0.0,
                kMaxWindowCoordinate},
    SettingsKey{"PlayList", "WindowState", PlacementField<&Settings::playList, &WindowPlacement::windowState>,
                kWindowNormal, kWindowMaximised},
    SettingsKey{"Setting", "WndAutoHide", Field<&Settings::wndAutoHide>, kCheckOff, kCheckOn},
};

// Options beyond the classic player, after its keys in the same sections.
constexpr std::array kExtensionKeys = {
    SettingsKey{"Setting", "ModernReading", Field<&Settings::modernReading>},
    SettingsKey{"Setting", "AudioBufferFrames", Field<&Settings::audioBufferFrames>, kMinAudioBufferFrames,
                kMaxAudioBufferFrames},
    SettingsKey{"Setting", "VSync", Field<&Settings::vsync>},
    SettingsKey{"Setting", "JudgeAtKeyTime", Field<&Settings::judgeAtKeyTime>},
    SettingsKey{"Setting", "AudioOffset", Field<&Settings::audioOffsetMs>, kMinOffsetMs, kMaxOffsetMs},
    SettingsKey{"Setting", "DisplayOffset", Field<&Settings::displayOffsetMs>, kMinOffsetMs, kMaxOffsetMs},
    SettingsKey{"Setting", "JudgeOffset", Field<&Settings::judgeOffsetMs>, kMinOffsetMs, kMaxOffsetMs},
    SettingsKey{"Setting", "LoadThreads", Field<&Settings::loadThreads>, 0, kMaxLoadThreads},
};

bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i];
    char y = b[i];
    if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 'a' + 'A');
    if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 'a' + 'A');
    if (x != y) return false;
  }
  return true;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

std::optional<double> NumberOf(std::string_view text) { return ParseNumber(FromUtf8(Trim(text))); }

std::optional<bool> BooleanOf(std::string_view text) {
  if (SameName(Trim(text), "True")) return true;
  if (SameName(Trim(text), "False")) return false;
  if (auto number = NumberOf(text)) return *number != 0.0;
  return std::nullopt;
}

template <typename T>
bool Assign(T* target, std::optional<T> value) {
  if (!value) return false;
  *target = *value;
  return true;
}

// The classic keys, then the extensions: one list to search.
constexpr auto AllKeysArray() {
  std::array<SettingsKey, kKeys.size() + kExtensionKeys.size()> all{};
  for (size_t i = 0; i < kKeys.size(); ++i) all[i] = kKeys[i];
  for (size_t i = 0; i < kExtensionKeys.size(); ++i) all[kKeys.size() + i] = kExtensionKeys[i];
  return all;
}
constexpr auto kAllKeys = AllKeysArray();

std::span<const SettingsKey> AllSettingsKeys() { return kAllKeys; }

}  // namespace

std::span<const SettingsKey> SettingsKeys() { return kKeys; }
std::span<const SettingsKey> ExtensionSettingsKeys() { return kExtensionKeys; }

const SettingsKey* FindSettingsKey(std::string_view name) {
  const size_t dot = name.find('.');
  for (const SettingsKey& key : AllSettingsKeys()) {
    if (dot != std::string_view::npos) {
      if (SameName(name.substr(0, dot), key.section) && SameName(name.substr(dot + 1), key.key)) return &key;
    } else if ((key.section == "Setting" || key.section == "NoteSetting") && SameName(name, key.key)) {
      return &key;
    }
  }
  return nullptr;
}

bool SetOption(Settings& settings, std::string_view name, std::string_view value) {
  const SettingsKey* key = FindSettingsKey(name);
  if (key == nullptr) return false;
  const OptionField field = key->field(settings);
  if (auto* b = std::get_if<bool*>(&field)) return Assign(*b, BooleanOf(value));
  if (auto* s = std::get_if<std::string*>(&field)) {
    **s = std::string(value);
    return true;
  }
  const std::optional<double> number = NumberOf(value);
  if (!number) return false;
  if (auto* i16 = std::get_if<int16_t*>(&field)) return Assign(*i16, RoundToInt16(*number));
  if (auto* i32 = std::get_if<int32_t*>(&field)) return Assign(*i32, RoundToInt32(*number));
  return Assign(std::get<float*>(field), ToSingle(*number));
}

bool SetOptionText(Settings& settings, std::string_view nameEqualsValue) {
  const size_t equals = nameEqualsValue.find('=');
  if (equals == std::string_view::npos) return false;
  return SetOption(settings, Trim(nameEqualsValue.substr(0, equals)), nameEqualsValue.substr(equals + 1));
}

void ReadOption(Settings& settings, const SettingsKey& key, std::string_view text) {
  const OptionField field = key.field(settings);
  if (std::holds_alternative<bool*>(field) || std::holds_alternative<std::string*>(field)) {
    SetOption(settings, std::string(key.section) + "." + std::string(key.key), text);
    return;
  }
  // A missing or unconvertible number keeps the value the field has, as
  // every reader of this file always did.
  const std::optional<double> number = NumberOf(text);
  if (!number || std::isnan(*number)) return;
  const double value = std::clamp(*number, key.minimum, key.maximum);
  if (auto* i16 = std::get_if<int16_t*>(&field)) {
    Assign(*i16, RoundToInt16(value));
  } else if (auto* i32 = std::get_if<int32_t*>(&field)) {
    Assign(*i32, RoundToInt32(value));
  } else {
    Assign(std::get<float*>(field), ToSingle(value));
  }
}

std::string OptionText(const Settings& settings, const SettingsKey& key) {
  // The table hands out writable pointers; only reads happen here.
  const OptionField field = key.field(const_cast<Settings&>(settings));
  if (auto* b = std::get_if<bool*>(&field)) return **b ? "True" : "False";
  if (auto* s = std::get_if<std::string*>(&field)) return **s;
  if (auto* i16 = std::get_if<int16_t*>(&field)) return std::to_string(**i16);
  if (auto* i32 = std::get_if<int32_t*>(&field)) return std::to_string(**i32);
  return ShortestDecimal(*std::get<float*>(field));
}

bool OptionIsOn(const Settings& settings, const SettingsKey& key) {
  return BooleanOf(OptionText(settings, key)).value_or(false);
}

}  // namespace vremo
