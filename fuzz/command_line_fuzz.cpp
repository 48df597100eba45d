// The command-line tokeniser and its actions, on a target that only counts,
// and the hand-over's path rewriting.

#include "fuzz/fuzz_file.h"
#include "shell/command_line.h"

namespace {

class CountingTarget : public vremo::CommandTarget {
 public:
  void EnablePlayTimer() override { ++calls; }
  void RequestStop() override { ++calls; }
  void CheckBga() override { ++calls; }
  void CheckWav() override { ++calls; }
  void SetQuitAfterPlay() override { ++calls; }
  void ListLoad(const std::string& path) override { calls += path.size(); }
  void ListClear() override { ++calls; }
  void ListAdd(const std::string& path) override { calls += path.size(); }
  void ListPlay(int32_t index) override { calls += static_cast<size_t>(index != 0); }
  size_t calls = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view line = vremo::fuzz::Text(data, size);
  CountingTarget target;
  vremo::RunCommandLine(line, target);
  vremo::RunCommandLine(vremo::AbsoluteCommandLine(line, "/home/player/charts"), target);
  return 0;
}
