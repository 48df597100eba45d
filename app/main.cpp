// vremo: tool modes first; then one player per user: a second start hands
// its command line to the running player and ends.
#include <QApplication>
#include <iostream>
#include <string>
#include <vector>

#include "shell/command_line.h"
#include "shell/instance_lock.h"
#include "shell/main_window.h"
#include "shell/player_commands.h"
#include "shell/program_folder.h"
#include "shell/tool_modes.h"

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (auto status = vremo::RunToolMode(args, std::cout, std::cerr)) return *status;

  QApplication application(argc, argv);
  const std::string commandLine = vremo::JoinArguments(args);
  vremo::InstanceLock lock(vremo::RuntimeFolder(), vremo::HandOverFilePath());
  if (lock.Acquire() == vremo::InstanceRole::kSecond) {
    vremo::StreamLogSink sink([](std::string_view text) { std::cerr << text; });
    vremo::DebugLog log(&sink);
    vremo::HandOver(vremo::HandOverFilePath(), commandLine, log);
    return 0;
  }

  const std::string folder = vremo::ProgramFolder();
  vremo::MainWindow window(folder);
  vremo::PlayerCommands commands(window, folder);
  window.StartUp();
  commands.Start(lock, commandLine);
  return application.exec();
}
