// ReadSettings / WriteSettings over ProfileText.
#include "shell/settings_file.h"

#include <array>
#include <cerrno>

#include "chart/file_bytes.h"
#include "shell/atomic_file.h"
#include "shell/profile_file.h"

namespace vremo {
namespace {

// The order of the writes; the reads follow SettingsKeys().
constexpr std::array<std::string_view, 40> kWriteOrder = {
    "MainForm.Left",        "MainForm.Top",         "MainForm.Width",       "MainForm.Height",
    "MainForm.WindowState", "PlayList.Left",        "PlayList.Top",         "PlayList.Width",
    "PlayList.Height",      "PlayList.WindowState", "Setting.TitleDisplay", "Setting.Sleep",
    "Setting.NoBGA",        "Setting.NoWAV",        "Setting.ShowObj",      "Setting.ShowBGA",
    "Setting.PlaySound",    "Setting.PlayKeySound", "Setting.UserPlay",     "Setting.UserRec",
    "Setting.ShowRec",      "Setting.PlayRec",      "Setting.DEMOMode",     "Setting.ShowVLine",
    "Setting.ShowGlid",     "Setting.HiSpeed",      "Setting.RealHiSpeed",  "Setting.PolMode",
    "Setting.Rect",         "Setting.ShowGauge",    "NoteSetting.Hidden",   "NoteSetting.Sudden",
    "NoteSetting.Stealth",  "NoteSetting.Reverse",  "NoteSetting.Accel",    "NoteSetting.Nazo",
    "Setting.DontStretch",  "Setting.DontWait",     "Setting.WndMode",      "Setting.WndAutoHide",
};

std::string_view ReadDefaultOf(const SettingsKey& key) {
  if (key.section != "Setting") return {};
  if (key.key == "Rect") return kDefaultRectFile;
  if (key.key == "DontStretch") return kDontStretchReadDefault;
  if (key.key == "DontWait") return kDontWaitReadDefault;
  if (key.key == "WndMode") return kWndModeReadDefault;
  if (key.key == "WndAutoHide") return kWndAutoHideReadDefault;
  return {};
}

// Newer options join the file only once the user changed them (or the file
// already names them), after the classic keys of their section.
void WriteKeysWhenSet(ProfileText& file, const Settings& settings) {
  static const Settings kDefaults;
  constexpr std::string_view kAbsent = "\x01";
  for (const SettingsKey& key : ExtensionSettingsKeys()) {
    const std::string text = OptionText(settings, key);
    const bool present = file.Get(key.section, key.key, kAbsent) != kAbsent;
    if (present || text != OptionText(kDefaults, key)) file.Set(key.section, key.key, text);
  }
}

}  // namespace

Settings UnsetSettings() {
  Settings settings;
  for (const SettingsKey& key : SettingsKeys()) {
    const OptionField field = key.field(settings);
    std::visit([](auto* target) { *target = {}; }, field);
  }
  return settings;
}

bool ReadSettings(const std::string& path, Settings& settings, DebugLog& log) {
  if (!log.CheckExist(path)) {
    settings = Settings{};
    return false;
  }
  // A file that cannot be read, or is no settings text, counts as missing;
  // WriteSettings keeps it aside before it writes a new one.
  const FileRead file = ReadWholeFile(path);
  if (!file.ok() || !IsProfileText(file.bytes)) {
    log.PutLog(file.ok() ? "Err[not a settings file] :" + FileNameOf(path) : FileReadErrorLine(file, path));
    settings = Settings{};
    return false;
  }
  const ProfileText text(file.bytes);
  for (const SettingsKey& key : SettingsKeys()) {
    ReadOption(settings, key, text.Get(key.section, key.key, ReadDefaultOf(key)));
  }
  for (const SettingsKey& key : ExtensionSettingsKeys()) {
    ReadOption(settings, key, text.Get(key.section, key.key, OptionText(Settings{}, key)));
  }
  return true;
}

bool WriteSettings(const std::string& path, const Settings& settings, DebugLog* log) {
  const FileRead old = ReadWholeFile(path);
  ProfileText file;
  if (old.ok() && IsProfileText(old.bytes)) {
    file = ProfileText(old.bytes);
  } else if (old.status != FileReadStatus::kMissing) {
    // The user's file could not be read: its bytes go to a backup first, or
    // it stays as it is and nothing is written.
    const bool copied = BackUpFile(path);
    const std::string name = FileNameOf(path);
    if (log != nullptr) {
      log->PutLog(copied ? name + " could not be read: kept as " + FileNameOf(path) + std::string(kBackupSuffix)
                         : name + " could not be read: left as it is, settings not saved");
    }
    if (!copied) return false;
  }
  for (std::string_view name : kWriteOrder) {
    const SettingsKey* key = FindSettingsKey(name);
    if (key == nullptr) continue;
    if (name == "Setting.WndMode" && settings.wndMode != 0 && settings.wndMode != 1) continue;
    file.Set(key->section, key->key, OptionText(settings, *key));
  }
  WriteKeysWhenSet(file, settings);
  if (file.Save(path)) return true;
  if (log != nullptr) log->PutLog(FileWriteErrorLine(path, errno));
  return false;
}

}  // namespace vremo
