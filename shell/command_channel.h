#pragma once
// The external command channel: a per-user local socket that takes the place
// of the main window's linked text box. Partner programs (a chart editor, a
// script, `vremo --send`) write one UTF-8 line per command; every accepted
// command ("L..." text) gets the reply "POK", and the player's own notices
// ("PLENGTH ", "PNEXT", "PCLOSE") go to every connected partner. A line
// "ReceiveCommand: " + command line is a second start handing over its
// command line. The main window implements CommandHandler and owns one
// CommandChannel. UI thread only.

#include <QByteArray>
#include <QLocalServer>
#include <QLocalSocket>
#include <QObject>
#include <QString>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "chart/debug_log.h"

namespace vremo {

inline constexpr std::string_view kReplyOk = "POK";
inline constexpr std::string_view kNoticeLength = "PLENGTH ";
inline constexpr std::string_view kNoticeNext = "PNEXT";
inline constexpr std::string_view kNoticeClose = "PCLOSE";
inline constexpr std::string_view kPauseCaption = "sorry, pause is unaviliable";
inline constexpr std::string_view kHandOverPrefix = "ReceiveCommand: ";
// `vremo --open FILES` of a second start: the files, joined as a command
// line, to be taken as a drop on the main window.
inline constexpr std::string_view kOpenFilesPrefix = "ReceiveFiles: ";
// Bounds that keep a misbehaving partner from costing the player memory.
inline constexpr qsizetype kMaxCommandBytes = 64 * 1024;
inline constexpr qint64 kMaxPendingReplyBytes = 256 * 1024;
inline constexpr int kMaxPartners = 32;

// What the commands do; the main window implements it.
class CommandHandler {
 public:
  virtual ~CommandHandler() = default;
  // "LLOAD path": StopRequested, timPlay's tag = path, timPlay enabled.
  virtual void CommandLoad(const std::string& path) = 0;
  virtual void CommandStop() = 0;                  // "LSTOP": StopRequested
  virtual void CommandSeek(int32_t position) = 0;  // "LSEEK n": the seek operation
  virtual void CommandQuit() = 0;                  // "LQUIT": close the main window
  virtual void CommandPause() = 0;                 // "LPAUS": caption kPauseCaption
  // A second start's command line: the caption becomes kHandOverPrefix + line,
  // where the timMoved poll (HandOverPoll) finds it.
  virtual void CommandLineReceived(const std::string& line) = 0;
  // Files a second start opened (kOpenFilesPrefix), absolute, in its order.
  virtual void FilesReceived(const std::vector<std::string>& paths) { (void)paths; }
};

// One command text as the linked text box handled it. True when it was
// accepted (it begins with "L") and earns the reply "POK".
bool ApplyExternalCommand(std::string_view text, CommandHandler& handler);

// "vremo-<uid>.sock" in the runtime folder ($XDG_RUNTIME_DIR): one
// channel per user.
QString ChannelName();

class CommandChannel : public QObject {
  Q_OBJECT

 public:
  CommandChannel(CommandHandler& handler, DebugLog& log, QObject* parent = nullptr);
  ~CommandChannel() override;

  // Listens on `name`, owner-only. A socket file left by a crashed run is
  // removed first: call this only once no other instance answers.
  bool Listen(const QString& name);
  QString fullServerName() const { return server_.fullServerName(); }

  void SendLength(int32_t lengthMs);  // "PLENGTH " + length, after a load
  void SendNext();                    // "PNEXT", after a song
  void SendClose();                   // "PCLOSE" at shut-down when DdeLinked
  // True from the first accepted command on (never cleared, even by LCLOSE).
  bool DdeLinked() const { return ddeLinked_; }
  int PartnerCount() const { return static_cast<int>(partners_.size()); }

 private:
  struct Partner {
    QLocalSocket* socket;
    QByteArray pending;
  };
  void Accept();
  void ReadFrom(QLocalSocket* socket);
  void HandleLine(QLocalSocket* socket, const QByteArray& line);
  void Send(QLocalSocket* socket, std::string_view text);
  void Broadcast(std::string_view text);
  void Drop(QLocalSocket* socket, std::string_view why);
  Partner* Find(QLocalSocket* socket);

  CommandHandler& handler_;
  DebugLog& log_;
  QLocalServer server_;
  std::vector<Partner> partners_;
  bool ddeLinked_ = false;
};

}  // namespace vremo
