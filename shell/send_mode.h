#pragma once
// `vremo --send "TEXT"`: the bundled partner of the command channel. It
// sends one command line to the running player and prints every reply that
// arrives until the player has been quiet for a moment. A script learns from
// the exit status whether the player took the command. Called by the tool
// modes on the main thread, before any window exists.

#include <QString>
#include <ostream>
#include <string>
#include <vector>

namespace vremo {

inline constexpr int kSendConnectWaitMs = 1000;
inline constexpr int kSendQuietMs = 500;  // replies end after this much silence
// An accepted command ("L...") is answered at once unless the player is busy
// loading; this long a silence means it does not answer.
inline constexpr int kSendAnswerWaitMs = 5000;
inline constexpr int kExitNoInstance = 1;
inline constexpr int kExitRefused = 4;   // the player closed the connection unanswered
inline constexpr int kExitNoAnswer = 5;  // an "L" command got no reply

// args[0] is "--send"; the rest, joined with blanks, is the text. Exit
// status 0 when the text was delivered (and, for an "L" command, answered),
// kExitNoInstance when no player runs, kExitRefused, kExitNoAnswer, 64
// without a text; every failure with a line on `err`.
int RunSendMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// Sends `text` as one line to the channel `server`, prints each reply line to
// `out` and returns the exit status above.
int DeliverCommand(const QString& server, const std::string& text, std::ostream& out, std::ostream& err);
// DeliverCommand(...) == 0.
bool SendCommand(const QString& server, const std::string& text, std::ostream& out, std::ostream& err);

// The running instance's channel: the name in temp.dat when it lies in the
// private runtime folder, else ChannelName(). Empty, with `problem` set, when
// there is no private runtime folder.
QString InstanceServerName(std::string* problem = nullptr);

}  // namespace vremo
