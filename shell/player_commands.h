#pragma once
// Connects the main window to the command side: the command line (this
// process's and a second start's, found by the 500 ms timMoved poll of the
// caption), the external command channel with its notices, the play list
// that plays on after each song and the library window that feeds it.
// UI thread only.

#include <QObject>
#include <QTimer>
#include <memory>
#include <string>

#include "shell/command_channel.h"
#include "shell/command_line.h"
#include "shell/instance_lock.h"
#include "shell/play_list.h"

namespace vremo {

class LibraryWindow;
class MainWindow;
class PlayListWindow;

class PlayerCommands : public QObject, private CommandTarget, private CommandHandler, private PlayListHost {
 public:
  PlayerCommands(MainWindow& window, std::string programFolder);
  ~PlayerCommands() override;

  // Loads default.vrl, opens the channel (writing temp.dat through `lock`),
  // starts timMoved and acts on this process's own command line.
  void Start(InstanceLock& lock, const std::string& commandLine);

  PlayList& playList() { return list_; }
  PlayListWindow& playListWindow() { return *listWindow_; }
  LibraryWindow& libraryWindow() { return *libraryWindow_; }
  CommandChannel& channel() { return channel_; }

 private:
  // CommandTarget
  void EnablePlayTimer() override;
  void RequestStop() override;
  void CheckBga() override;
  void CheckWav() override;
  void SetQuitAfterPlay() override;
  void ListLoad(const std::string& path) override;
  void ListClear() override;
  void ListAdd(const std::string& path) override;
  void ListPlay(int32_t index) override;
  // CommandHandler
  void CommandLoad(const std::string& path) override;
  void CommandStop() override;
  void CommandSeek(int32_t position) override;
  void CommandQuit() override;
  void CommandPause() override;
  void CommandLineReceived(const std::string& line) override;
  void FilesReceived(const std::vector<std::string>& paths) override;
  // PlayListHost
  void PlayChart(const std::string& path) override;
  void ShowMessage(const std::string& text, const std::string& title) override;
  void ListChanged() override;

  void timMoved_Timer();
  // The main window's drop handler for anything but a play record.
  void FilesDropped(const std::vector<std::string>& paths);
  void ShutDown();

  MainWindow& window_;
  std::string programFolder_;
  PlayList list_;
  // Owned by Qt as a child window of the main window.
  PlayListWindow* listWindow_ = nullptr;
  LibraryWindow* libraryWindow_ = nullptr;
  CommandChannel channel_;
  QTimer timMoved_;
};

}  // namespace vremo
