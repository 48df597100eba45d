// The command side wired to the main window.
#include "shell/player_commands.h"

#include <QFileInfo>

#include "shell/library_window.h"
#include "shell/main_window.h"
#include "shell/play_list_window.h"

namespace vremo {

PlayerCommands::PlayerCommands(MainWindow& window, std::string programFolder)
    : window_(window),
      programFolder_(std::move(programFolder)),
      list_(*this, window.log()),
      channel_(*this, window.log(), this) {
  window_.SetNextSongHandler([this] { list_.ListNext(); });
  window_.SetPreviousSongHandler([this] { list_.ListPrev(); });
  window_.SetPlayStartHandler([this] { list_.ListUpdateNow(); });
  window_.SetLinkedPartner([this](const std::string& notice) {
    static constexpr std::string_view kLength = "PLENGTH ";
    if (notice.rfind(kLength, 0) == 0) {
      channel_.SendLength(static_cast<int32_t>(std::strtol(notice.c_str() + kLength.size(), nullptr, 10)));
    } else if (notice == "PNEXT") {
      channel_.SendNext();
    }
  });
  window_.SetShutdownHandlers([this] { ShutDown(); }, [this] { list_.SaveDefault(programFolder_); });
  window_.SetDropHandler([this](const std::vector<std::string>& paths) { FilesDropped(paths); });
  listWindow_ = new PlayListWindow(list_, &window_);
  window_.SetPlayListWindow(listWindow_);
  LibraryActions actions{[this](const std::string& path) { PlayChart(path); },
                         [this](const std::string& path) { list_.ListAdd(path); },
                         [this](const std::string& text, const std::string& title) { ShowMessage(text, title); }};
  libraryWindow_ = new LibraryWindow(std::move(actions), window_.log(), programFolder_,
                                     DefaultLibraryPath(programFolder_), &window_);
  window_.SetLibraryWindow(libraryWindow_);
  window_.SetPlayEndHandler([this] { libraryWindow_->PlayEnded(); });
  timMoved_.setInterval(kHandOverPollMs);
  connect(&timMoved_, &QTimer::timeout, this, [this] { timMoved_Timer(); });
}

PlayerCommands::~PlayerCommands() = default;

void PlayerCommands::Start(InstanceLock& lock, const std::string& commandLine) {
  listWindow_->RestorePlacement(window_.settings().playList);
  list_.LoadDefault(programFolder_);
  lock.Publish(channel_, ChannelName(), window_.log());
  timMoved_.start();
  if (!commandLine.empty()) RunCommandLine(commandLine, *this);
}

void PlayerCommands::ShutDown() {
  timMoved_.stop();
  // No scan outlives the window it reports to.
  libraryWindow_->StopScan();
  channel_.SendClose();
  if (listWindow_->HasPlace()) window_.settings().playList = listWindow_->Placement();
}

void PlayerCommands::FilesDropped(const std::vector<std::string>& paths) {
  const QString first = QString::fromStdString(paths.front());
  if (first.endsWith(".vrl", Qt::CaseInsensitive)) {
    list_.ListLoad(paths.front(), false);
    list_.ListPlay(0);
    return;
  }
  if (paths.size() > 1) listWindow_->show();
  list_.ListClear();
  for (const std::string& path : paths) {
    // A dropped folder brings every chart under it.
    if (QFileInfo(QString::fromStdString(path)).isDir()) {
      list_.ListAddFolder(path);
    } else {
      list_.ListAdd(path);
    }
  }
  list_.ListPlay(0);
}

// A file opened from the desktop lands as if dropped on the window.
void PlayerCommands::FilesReceived(const std::vector<std::string>& paths) { window_.FilesDropped(paths); }

void PlayerCommands::timMoved_Timer() {
  if (auto line = HandOverPoll(window_.Caption())) {
    window_.RequestStop();
    RunCommandLine(*line, *this);
  }
}

void PlayerCommands::EnablePlayTimer() { window_.EnablePlayTimer(); }
void PlayerCommands::RequestStop() { window_.RequestStop(); }
void PlayerCommands::CheckBga() { window_.CheckNoBga(); }
void PlayerCommands::CheckWav() { window_.CheckNoWav(); }
void PlayerCommands::SetQuitAfterPlay() { window_.SetQuitAfterPlay(true); }
void PlayerCommands::ListLoad(const std::string& path) { list_.ListLoad(path, false); }
void PlayerCommands::ListClear() { list_.ListClear(); }
void PlayerCommands::ListAdd(const std::string& path) { list_.ListAdd(path); }
void PlayerCommands::ListPlay(int32_t index) { list_.ListPlay(index); }

void PlayerCommands::CommandLoad(const std::string& path) { PlayChart(path); }
void PlayerCommands::CommandStop() { window_.RequestStop(); }
void PlayerCommands::CommandSeek(int32_t position) { window_.SeekTo(position); }
void PlayerCommands::CommandQuit() { window_.Quit(); }
void PlayerCommands::CommandPause() { window_.SetCaptionText(std::string(kPauseCaption)); }
void PlayerCommands::CommandLineReceived(const std::string& line) {
  window_.SetCaptionText(std::string(kHandOverPrefix) + line);
}

void PlayerCommands::PlayChart(const std::string& path) {
  // A chart picked from the list replaces the running one at once.
  window_.RequestStop();
  window_.RequestPlay(path);
}

void PlayerCommands::ShowMessage(const std::string& text, const std::string& title) {
  window_.ShowCriticalMessage(text, title);
}

void PlayerCommands::ListChanged() {
  if (listWindow_ != nullptr) listWindow_->Refresh();
}

}  // namespace vremo
