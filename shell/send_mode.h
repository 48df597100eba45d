#pragma once
// `vremo --send "TEXT"`: the bundled partner of the command channel. It
// sends one command line to the running player and prints every reply that
// arrives until the player has been quiet for a moment. Called by the tool
// modes on the main thread, before any window exists.

#include <QString>
#include <ostream>
#include <string>
#include <vector>

namespace vremo {

inline constexpr int kSendConnectWaitMs = 1000;
inline constexpr int kSendQuietMs = 500;  // replies end after this much silence
inline constexpr int kExitNoInstance = 1;

// args[0] is "--send"; the rest, joined with blanks, is the text. Exit
// status 0 when the text was delivered, kExitNoInstance when no player runs,
// 64 without a text.
int RunSendMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// Sends `text` as one line to the channel `server` and prints each reply
// line to `out`. False (with a line on `err`) when nobody listens.
bool SendCommand(const QString& server, const std::string& text, std::ostream& out, std::ostream& err);

// The running instance's channel: the name in temp.dat, else ChannelName().
QString InstanceServerName();

}  // namespace vremo
