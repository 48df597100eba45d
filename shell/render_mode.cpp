// The offline render of a whole play.
#include "shell/render_mode.h"

#include <filesystem>
#include <memory>

#include "chart/bms_reader.h"
#include "chart/chart_compiler.h"
#include "display/offline_renderer.h"
#include "display/sound_bank.h"
#include "display/wav_writer.h"
#include "play/headless_play.h"
#include "play/lane_keys.h"
#include "play/settings.h"
#include "shell/program_folder.h"
#include "shell/tool_modes.h"

namespace vremo {
namespace {

// Sounds still ringing this long after the play are cut.
constexpr double kMaxTailMs = 60000.0;

int ExitStatusOf(int32_t result) { return result == kLoadNoObject ? kExitNoObject : kExitMissing; }

// Plays the loaded chart with the mix streaming into `wav`. A mix that
// outgrows the file stops the play: nothing more could be kept.
void RenderPlay(Chart& chart, Settings& settings, const std::vector<KeyEvent>& events, MixerSoundBank& bank,
                OfflineRenderer& renderer, WavFileWriter& wav, DebugLog& log) {
  VirtualClock clock;
  HeadlessOptions options;
  options.scoreLogFolder = ProgramFolder();
  // Mix only up to the tick the engine has stepped at: sounds due in the
  // coming step still start at their own sample.
  int32_t steppedTick = clock.TickCount();
  options.afterSleep = [&renderer, &steppedTick](int32_t tick) {
    renderer.AdvanceTo(steppedTick);
    steppedTick = tick;
  };
  const KeyMap keyMap = DefaultKeyMap();  // the lane keys keep a reference
  HeadlessPlay play(chart, settings, bank, keyMap, log, clock, options);
  bool refused = false;
  renderer.StreamTo([&](const float* samples, int64_t frames) {
    if (wav.Append(samples, frames) || !wav.tooLong() || refused) return;
    refused = true;
    log.PutLog("  Err: the mix passes the " + std::to_string(kMaxWavFrames / renderer.sampleRate()) +
               " s a WAV file holds; render stopped.");
    play.engine().RequestStop();
  });
  play.Run(events);
  renderer.AdvanceTo(clock.TickCount());
  if (!refused) renderer.RenderTail(kMaxTailMs);
  renderer.StreamTo({});  // the sink refers to this play
}

}  // namespace

std::optional<RenderRequest> ParseRenderArgs(const std::vector<std::string>& args, std::ostream& err) {
  RenderRequest request;
  std::vector<std::string> plain;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--option" || arg == "--input" || arg == "--seed") {
      if (i + 1 >= args.size()) {
        err << "vremo: " << arg << " needs a value\n";
        return std::nullopt;
      }
      if (arg == "--option") {
        request.options.push_back(args[++i]);
      } else if (arg == "--seed") {
        request.seed = ParseSeed(args[++i]);
        if (!request.seed) {
          err << "vremo: bad value for --seed: " << args[i] << '\n';
          return std::nullopt;
        }
      } else {
        request.input = args[++i];
      }
    } else {
      plain.push_back(arg);
    }
  }
  if (plain.size() != 2) {
    err << "vremo: usage: vremo --render OUT.wav [--option NAME=VALUE]... [--input EVENTS] CHART\n";
    return std::nullopt;
  }
  request.output = plain[0];
  request.chart = plain[1];
  return request;
}

int RunRender(const RenderRequest& request, std::ostream& out, std::ostream& err) {
  Settings settings;
  for (const std::string& option : request.options) {
    if (!SetOptionText(settings, option)) {
      err << "vremo: unknown option or bad value: " << option << '\n';
      return kExitUsage;
    }
  }
  std::vector<KeyEvent> events;
  if (!request.input.empty()) {
    std::string error;
    const std::string text = ReadFileBytes(request.input);
    auto parsed = text.empty() && !std::filesystem::exists(request.input) ? std::nullopt : ParseKeyScript(text, error);
    if (!parsed) {
      err << "vremo: " << request.input << ": " << (error.empty() ? "cannot be read" : error) << '\n';
      return kExitUsage;
    }
    events = std::move(*parsed);
  }

  StreamLogSink sink([&out](std::string_view text) { out << text; });
  DebugLog log(&sink);
  OfflineRenderer renderer;
  MixerSoundBank bank(renderer, &log);
  SoundOnlyMediaLoader media(bank);
  LoadOptions loadOptions;
  loadOptions.noWav = settings.noWav;
  loadOptions.noBga = true;
  loadOptions.speedFactor = settings.realHiSpeed;
  loadOptions.modernReading = settings.modernReading;
  loadOptions.seed = request.seed;
  LoadContext context{log, media, loadOptions, {}};

  auto chart = std::make_unique<Chart>();
  const int32_t result = LoadChart(request.chart, *chart, context);
  if (result != kLoadOk) {
    log.PutLog("BMS load error");
    return ExitStatusOf(result);
  }
  for (const std::string& line : SongInfoLines(*chart)) log.PutLog(line);

  WavFileWriter wav(request.output, renderer.sampleRate());
  RenderPlay(*chart, settings, events, bank, renderer, wav, log);
  if (!wav.Finish()) {
    err << "vremo: cannot write " << request.output << '\n';
    return kExitWriteFailed;
  }
  out.flush();
  return kExitLoaded;
}

}  // namespace vremo
