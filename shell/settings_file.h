#pragma once
// The settings file vremo.ini in the program's folder: every option, the two
// windows' places and the layout file name. Read once at start-up and
// written once at shut-down by the main window, which moves the values
// between the file's Settings and its controls. UI thread.

#include <string>
#include <string_view>

#include "chart/debug_log.h"
#include "play/settings.h"

namespace vremo {

inline constexpr std::string_view kSettingsFileName = "vremo.ini";
// The few keys that fall back to a value of their own when missing from an
// existing file; every other missing key keeps the variable as it was.
inline constexpr std::string_view kDontStretchReadDefault = "0";
inline constexpr std::string_view kDontWaitReadDefault = "0";
inline constexpr std::string_view kWndModeReadDefault = "0";
inline constexpr std::string_view kWndAutoHideReadDefault = "0";
// WndMode when neither window-size option is selected: the key is then not
// written.
inline constexpr int16_t kNoWndMode = -1;

// The options before anything is read: every value zero, false or empty, as
// the program's variables start. An existing file is read over these.
Settings UnsetSettings();

// When the file exists, reads every key in the file's order into `settings`
// (ReadOption): a missing boolean or one that does not convert is left as
// it was, a number out of its control's range is brought into it, and a
// missing or unusable number takes its fresh-install value (Rect,
// DontStretch, DontWait, WndMode and WndAutoHide have read defaults). When
// it does not ("Err[not exist] :vremo.ini" logged), or cannot be read, or
// is no settings text (its own line logged), `settings` becomes the
// fresh-install defaults. Returns whether the file was read.
bool ReadSettings(const std::string& path, Settings& settings, DebugLog& log);

// Writes every key, one at a time into the existing text so that unrelated
// keys and sections stay, then replaces the file atomically. An existing
// file that cannot be read or is no settings text is first copied to
// vremo.ini.bak (and that logged); when even that fails it is left alone.
// False (the old file kept) when nothing could be written.
bool WriteSettings(const std::string& path, const Settings& settings, DebugLog* log = nullptr);

}  // namespace vremo
