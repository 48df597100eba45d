// The player's entry, loaded by the vremo executable for everything but the
// chart-only tool modes: the other tool modes first; then one player per
// user: a second start hands its command line to the running player and ends.
#include <QApplication>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>
#include <vector>

#include "shell/command_line.h"
#include "shell/instance_lock.h"
#include "shell/main_window.h"
#include "shell/player_commands.h"
#include "shell/program_folder.h"
#include "shell/quit_signals.h"
#include "shell/tool_modes.h"

extern "C" int VremoPlayerMain(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (auto status = vremo::RunToolMode(args, std::cout, std::cerr)) return *status;

  QApplication application(argc, argv);
  // `--open FILES` (a double click in a file manager): the files are taken
  // as a drop on the window instead of as a command line.
  std::vector<std::string> opened;
  const bool opening = !args.empty() && args[0] == "--open";
  // Relative paths mean this process's folder, not the running player's.
  std::string commandLine = opening ? std::string() : vremo::JoinArguments(args);
  std::error_code ec;
  if (const auto here = std::filesystem::current_path(ec); !ec) {
    commandLine = vremo::AbsoluteCommandLine(commandLine, here.string());
    for (size_t i = 1; opening && i < args.size(); ++i) {
      if (!args[i].empty()) opened.push_back((here / args[i]).lexically_normal().string());
    }
  }
  std::string problem;
  const std::string runtimeFolder = vremo::RuntimeFolder(&problem);
  vremo::InstanceLock lock(runtimeFolder, vremo::HandOverFilePath(), problem);
  const vremo::InstanceRole role = lock.Acquire();
  if (role == vremo::InstanceRole::kSecond) {
    vremo::StreamLogSink sink([](std::string_view text) { std::cerr << text; });
    vremo::DebugLog log(&sink);
    if (opening) {
      vremo::HandOverFiles(vremo::HandOverFilePath(), opened, log, runtimeFolder);
    } else {
      vremo::HandOver(vremo::HandOverFilePath(), commandLine, log, runtimeFolder);
    }
    return 0;
  }
  if (role == vremo::InstanceRole::kAlone) {
    std::cerr << "vremo: running without the command channel (" << lock.problem() << ")\n";
  }

  const std::string folder = vremo::ProgramFolder();
  vremo::MainWindow window(folder);
  vremo::PlayerCommands commands(window, folder);
  // Ending signals close the window, which saves as a close by the user does.
  vremo::QuitSignals quitSignals([&window] { window.Quit(); });
  window.StartUp();
  // A home the user named but this user may not write: say where the files go instead.
  if (const char* home = std::getenv("VREMO_HOME"); home != nullptr && *home != '\0' && folder != home) {
    const std::string line = "Err: VREMO_HOME " + std::string(home) + " is not a writable folder; using " + folder;
    std::cerr << "vremo: " << line << "\n";
    window.log().PutLog(line);
  }
  commands.Start(lock, commandLine);
  if (!opened.empty()) window.FilesDropped(opened);
  return application.exec();
}
