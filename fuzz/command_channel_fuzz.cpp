// One command-channel line, as the channel hands it to the main window.

#include "fuzz/fuzz_file.h"
#include "shell/command_channel.h"

namespace {

class CountingHandler : public vremo::CommandHandler {
 public:
  void CommandLoad(const std::string& path) override { calls += path.size(); }
  void CommandStop() override { ++calls; }
  void CommandSeek(int32_t position) override { calls += static_cast<size_t>(position != 0); }
  void CommandQuit() override { ++calls; }
  void CommandPause() override { ++calls; }
  void CommandLineReceived(const std::string& line) override { calls += line.size(); }
  void FilesReceived(const std::vector<std::string>& paths) override { calls += paths.size(); }
  size_t calls = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CountingHandler handler;
  vremo::ApplyExternalCommand(vremo::fuzz::Text(data, size), handler);
  return 0;
}
