// Argument parsing for the snapshot tool mode; the work is display's.
#include "shell/snapshot_mode.h"

#include <charconv>

#include "display/snapshot.h"
#include "shell/program_folder.h"
#include "shell/tool_modes.h"

namespace vremo {
namespace {

constexpr const char* kUsage =
    "vremo: usage: vremo --snapshot OUT.png [--at POSITION] [--size WxH] [--layout FILE] [--option NAME=VALUE]... "
    "[--seed N] CHART\n";

bool ParseInt(std::string_view text, int32_t& value) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

bool ParseSize(std::string_view text, int32_t& width, int32_t& height) {
  const size_t x = text.find_first_of("xX");
  return x != std::string_view::npos && ParseInt(text.substr(0, x), width) && ParseInt(text.substr(x + 1), height);
}

}  // namespace

int RunSnapshotMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  SnapshotRequest request;
  request.layoutPath = BundledAssetsFolder() + "/default.vrd";
  std::vector<std::string> plain;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    const bool takesValue =
        arg == "--at" || arg == "--size" || arg == "--layout" || arg == "--option" || arg == "--seed";
    if (!takesValue) {
      plain.push_back(arg);
      continue;
    }
    if (i + 1 >= args.size()) {
      err << "vremo: " << arg << " needs a value\n";
      return kExitUsage;
    }
    const std::string& value = args[++i];
    bool ok = true;
    if (arg == "--at") {
      ok = ParseInt(value, request.position);
    } else if (arg == "--size") {
      ok = ParseSize(value, request.width, request.height);
    } else if (arg == "--layout") {
      request.layoutPath = value;
    } else if (arg == "--seed") {
      request.seed = ParseSeed(value);
      ok = request.seed.has_value();
    } else {
      request.options.push_back(value);
    }
    if (!ok) {
      err << "vremo: bad value for " << arg << ": " << value << '\n';
      return kExitUsage;
    }
  }
  if (plain.size() != 2) {
    err << kUsage;
    return kExitUsage;
  }
  request.outputPath = plain[0];
  request.chartPath = plain[1];

  StreamLogSink sink([&out](std::string_view text) { out << text; });
  DebugLog log(&sink);
  const SnapshotResult result = RunSnapshot(request, log, err);
  out.flush();
  switch (result) {
    case SnapshotResult::kWritten:
      return kExitLoaded;
    case SnapshotResult::kBadRequest:
      return kExitUsage;
    case SnapshotResult::kChartMissing:
      return kExitMissing;
    case SnapshotResult::kNoObject:
      return kExitNoObject;
    case SnapshotResult::kWriteFailed:
      return kExitWriteFailed;
  }
  return kExitWriteFailed;
}

}  // namespace vremo
