// time_info VREMO [RUNS]: runs `VREMO --info CHART` RUNS times (default 50)
// on the generated large chart and on a one-note chart, and prints the median
// wall and processor (user + system) time of each: the whole-process cost of
// reading a chart, start-up included. Nothing here is part of the player.

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tools/big_chart/big_chart.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

constexpr int kDefaultRuns = 50;

struct Run {
  double wallMs = 0;
  double cpuMs = 0;
};

double Ms(const timeval& t) { return t.tv_sec * 1000.0 + t.tv_usec / 1000.0; }

// One run with its output thrown away; false when it could not start or failed.
bool RunOnce(const std::string& vremo, const std::string& chart, Run& run) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  std::vector<std::string> args = {vremo, "--info", chart};
  std::vector<char*> argv;
  for (std::string& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  const auto start = std::chrono::steady_clock::now();
  pid_t pid = 0;
  const int spawned = posix_spawn(&pid, vremo.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) return false;
  int status = 0;
  rusage usage{};
  if (wait4(pid, &status, 0, &usage) != pid) return false;
  run.wallMs = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  run.cpuMs = Ms(usage.ru_utime) + Ms(usage.ru_stime);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.empty() ? 0.0 : values[values.size() / 2];
}

bool Report(const std::string& vremo, const fs::path& chart, int runs) {
  std::vector<double> wall;
  std::vector<double> cpu;
  for (int i = 0; i < runs; ++i) {
    Run run;
    if (!RunOnce(vremo, chart.string(), run)) {
      std::fprintf(stderr, "time_info: %s --info %s failed\n", vremo.c_str(), chart.c_str());
      return false;
    }
    wall.push_back(run.wallMs);
    cpu.push_back(run.cpuMs);
  }
  std::printf("%-16s %8ju bytes  median wall %6.2f ms  median cpu %6.2f ms  (%d runs)\n", chart.filename().c_str(),
              static_cast<uintmax_t>(fs::file_size(chart)), Median(wall), Median(cpu), runs);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: time_info VREMO [RUNS]\n");
    return 64;
  }
  const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : kDefaultRuns;
  const fs::path dir = fs::temp_directory_path() / ("vremo-time-info-" + std::to_string(getpid()));
  fs::create_directories(dir);
  std::ofstream(dir / "big.bms", std::ios::binary) << vremo::tools::BigChartBytes();
  std::ofstream(dir / "one_note.bms", std::ios::binary) << vremo::tools::OneNoteChartBytes();
  const bool ok = Report(argv[1], dir / "big.bms", runs) && Report(argv[1], dir / "one_note.bms", runs);
  std::error_code ec;
  fs::remove_all(dir, ec);
  return ok ? 0 : 1;
}
