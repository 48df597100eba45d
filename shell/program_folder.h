#pragma once
// The program's own folder, where every persisted file lives (settings, key
// map, score log, default play list, hand-over file): $VREMO_HOME when set,
// else the executable's folder when it is writable, else
// $XDG_DATA_HOME/vremo (~/.local/share/vremo). Any thread.

#include <string>

namespace vremo {

// Created when missing; never empty ("." as the last resort).
std::string ProgramFolder();

}  // namespace vremo
