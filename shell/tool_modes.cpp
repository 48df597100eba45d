// The tool modes' dispatch, --help and --version (--info and --dump: chart_modes.cpp).
#include "shell/tool_modes.h"

#include <algorithm>
#include <chrono>
#include <memory>

#include "chart/bms_reader.h"
#include "chart/chart_compiler.h"
#include "display/media_layer.h"
#include "display/media_prefetch.h"
#include "display/offline_renderer.h"
#include "display/sound_bank.h"
#include "play/settings.h"
#include "shell/chart_modes.h"
#include "shell/render_mode.h"
#include "shell/send_mode.h"
#include "shell/snapshot_mode.h"
#include "shell/timeline_mode.h"

namespace vremo {
namespace {

constexpr const char* kVersionText = "Vremo v0.26 release";

constexpr const char* kHelpText =
    "Usage: vremo [OPTIONS] [CHART...]\n"
    "       vremo --info|--dump|--timeline|--render|--snapshot|--send|--help|--version ...\n"
    "       vremo --library-add|--library-remove|--library-scan|--library-find|\n"
    "             --library-stats ...\n"
    "\n"
    "Player (one per user: a second start hands its command line to the running\n"
    "player, which stops and acts on it, and ends):\n"
    "  CHART             a chart file (*.bms, *.bme, *.bml); the charts named\n"
    "                    become the play list, which starts playing\n"
    "  LIST.VPL          load a play list without starting it\n"
    "  -P                start playing the chart already chosen\n"
    "  -S                stop the current play\n"
    "  -B                check BGA: play without background pictures\n"
    "  -W                check WAV: play without sounds\n"
    "  -Q                close the player when the play ends\n"
    "                    (switches are case-insensitive, / works as -, and only\n"
    "                    the first two characters count: -b- acts as -B)\n"
    "  --open FILE...    take the files as a drop on the window (what a double\n"
    "                    click in a file manager does): charts or folders become\n"
    "                    a new play list that plays, a .vrl list is loaded and\n"
    "                    played, a .vpd record is loaded for the current chart\n"
    "\n"
    "Tool modes (headless; nothing else runs):\n"
    "  --info CHART...   load the charts one after another without media and print\n"
    "                    the debug log of the last load and its song lines\n"
    "  --info --media CHART...\n"
    "                    the same with every sound and picture decoded as the\n"
    "                    player does (LoadThreads=N workers, 0 one per core), and\n"
    "                    then \"loaded N sounds, M pictures in T ms\"\n"
    "  --dump CHART...   load the charts likewise and print the last one, compiled,\n"
    "                    as one JSON object\n"
    "  --timeline [--option NAME=VALUE]... [--seed N] CHART\n"
    "                    print the time of every object on channels 01, 03, 11-29,\n"
    "                    51-69, D1-D9 and E1-E9: \"MS<TAB>CHANNEL<TAB>VALUE\" lines,\n"
    "                    ms from measure 0 with three decimals, sorted by time,\n"
    "                    channel and value\n"
    "  --render OUT.wav [--option NAME=VALUE]... [--input EVENTS] CHART\n"
    "                    play the chart headless (automatic play unless the options\n"
    "                    say otherwise) and write the mix as a 16-bit stereo WAV;\n"
    "                    EVENTS holds lines \"MILLISECONDS down|up VK\" of key presses\n"
    "  --snapshot OUT.png [--at POSITION] [--size WxH] [--layout FILE]\n"
    "             [--option NAME=VALUE]... CHART\n"
    "                    play the chart automatically up to POSITION (192 a measure)\n"
    "                    and write that frame as PNG (default 640x480, default skin)\n"
    "  --send TEXT       send one command line to the running player and print its\n"
    "                    replies (exit status 1 when no player runs, 4 when it turns\n"
    "                    the connection away, 5 when an L command goes unanswered)\n"
    "  --library-add DIR...\n"
    "                    add library folders and scan them: every *.bms and *.bme\n"
    "                    below is indexed in library.db; prints \"added A, updated U,\n"
    "                    removed R, unchanged N, skipped S\" (skipped things on\n"
    "                    standard error)\n"
    "  --library-remove DIR...\n"
    "                    forget library folders and their charts\n"
    "  --library-scan    scan every library folder again, reading only the charts\n"
    "                    that changed; Ctrl+C stops after the song folder being\n"
    "                    written (status 130) and the next scan finishes the work\n"
    "  --library-find [--keys N] [--level A-B] TEXT...\n"
    "                    print the paths of the charts whose title, subtitle,\n"
    "                    artist, genre or song folder hold every word, one a line\n"
    "                    (status 1 when none does)\n"
    "  --library-stats   count the library's charts, folders and plays\n"
    "  --library FILE    with the --library-* modes: use FILE, not library.db\n"
    "  --help            this text\n"
    "  --version         the program's name and version\n"
    "  Tool modes start from the default settings, never the user's vremo.ini;\n"
    "  NAME is any key of vremo.ini (UserPlay=True, RealHiSpeed=1.5, ...).\n"
    "  --info, --dump, --timeline, --render and --snapshot take --option\n"
    "  ModernReading=True (long notes, stops, random blocks, LF line ends, Korean\n"
    "  text) and --seed N, which fixes the draws of the chart's random blocks\n"
    "  (without it every load draws anew).\n"
    "\n"
    "Command channel: the player listens on $XDG_RUNTIME_DIR/vremo-UID.sock (else\n"
    "in the private folder /tmp/vremo-UID/, $TMPDIR for /tmp when set), one UTF-8\n"
    "command a line; every command beginning with L is answered \"POK\":\n"
    "  LLOAD PATH        stop the current play, load the chart and play it\n"
    "  LSTOP             stop the play\n"
    "  LSEEK POSITION    jump to a chart position (192 a measure)\n"
    "  LPAUS             no pause: says so in the caption\n"
    "  LQUIT             close the player\n"
    "  LCLOSE            end the link\n"
    "The player sends \"PLENGTH MS\" after loading a chart, \"PNEXT\" when a song\n"
    "ends by itself and \"PCLOSE\" when it closes (once a program sent a command).\n"
    "\n"
    "Environment:\n"
    "  VREMO_HOME        folder for the user files (below)\n"
    "  SDL_AUDIODRIVER   sound output; dummy plays silently (no sound card needed)\n"
    "  QT_QPA_PLATFORM   window system; offscreen for --snapshot without a display\n"
    "  XDG_RUNTIME_DIR   folder of the command channel's socket and lock\n"
    "  XDG_DATA_HOME     ~/.local/share when unset\n"
    "  TMPDIR            /tmp when unset\n"
    "\n"
    "Files: vremo.ini (settings), vrkeycnf.dat (key map), vremoscore.txt (score\n"
    "log), default.vrl (play list), temp.dat (hand-over) and library.db (chart\n"
    "library) live in $VREMO_HOME, else beside the executable when that folder is\n"
    "writable and Vremo is not installed, else in $XDG_DATA_HOME/vremo. Records\n"
    "(*.vpd) and further lists (*.vrl) go where you save them. Layouts (*.vrd) are\n"
    "read from that folder and from the bundled assets (<prefix>/share/vremo when\n"
    "installed).\n"
    "\n"
    "Exit status: 0 done, 1 the chart holds no object (--library-find: no chart\n"
    "matches), 2 the chart file (or library folder) does not exist, 3 the output\n"
    "could not be written, 64 wrong usage, 130 a library scan stopped by Ctrl+C.\n";

// --info --media: the loads decode every sound and picture as the player's
// do, on `threads` workers, and the time they took is told.
int LoadChartsWithMedia(const std::vector<std::string>& paths, const LoadOptions& options, int threads,
                        std::ostream& out) {
  const auto start = std::chrono::steady_clock::now();
  auto chart = std::make_unique<Chart>();
  MemoryLogSink sink;
  DebugLog log(&sink);
  OfflineRenderer output;
  MixerSoundBank sounds(output);
  MediaLayer layer(log, &sounds);
  LoadContext context{log, layer, options, {}};
  int32_t result = kLoadMissing;
  for (const std::string& path : paths) {
    sink.lines.clear();
    layer.PrepareSurfaces();
    sounds.ReleaseSounds();
    result = LoadChartAhead(path, *chart, context, layer, threads, {}).result.value_or(kLoadMissing);
    if (result == kLoadOk) {
      for (const std::string& line : SongInfoLines(*chart)) log.PutLog(line);
    } else {
      log.PutLog("BMS load error");
    }
  }
  int soundCount = 0;
  int pictureCount = 0;
  for (int slot = 0; slot < kMaxMediaSlots; ++slot) {
    soundCount += sounds.HasSound(slot) ? 1 : 0;
    pictureCount += layer.pictures().Picture(slot) != nullptr ? 1 : 0;
  }
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
  for (const std::string& line : sink.lines) out << line << '\n';
  out << "loaded " << soundCount << " sounds, " << pictureCount << " pictures in " << ms.count() << " ms\n";
  out.flush();
  return ExitStatusOf(result);
}

}  // namespace

std::optional<int> RunToolMode(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.empty()) return std::nullopt;
  const std::string& mode = args[0];
  if (mode == "--help" || mode == "-h") {
    out << kHelpText;
    return kExitLoaded;
  }
  if (mode == "--version") {
    out << kVersionText << '\n';
    return kExitLoaded;
  }
  if (mode == "--render") {
    const auto request = ParseRenderArgs(std::vector<std::string>(args.begin() + 1, args.end()), err);
    return request ? RunRender(*request, out, err) : kExitUsage;
  }
  if (mode == "--send") return RunSendMode(args, out, err);
  if (mode == "--snapshot") return RunSnapshotMode(std::vector<std::string>(args.begin() + 1, args.end()), out, err);
  if (mode == "--timeline") return RunTimelineMode(std::vector<std::string>(args.begin() + 1, args.end()), out, err);
  if (mode == "--info" || mode == "--dump") {
    std::vector<std::string> rest(args.begin() + 1, args.end());
    // --info --media: with the chart's sounds and pictures.
    const auto mediaFlag = std::find(rest.begin(), rest.end(), "--media");
    const bool media = mode == "--info" && mediaFlag != rest.end();
    if (media) rest.erase(mediaFlag);
    LoadArguments parsed;
    if (!ParseLoadArguments(rest, parsed, err)) return kExitUsage;
    if (parsed.paths.empty()) {
      err << "vremo: " << mode << " needs at least one chart file\n";
      return kExitUsage;
    }
    if (media) {
      parsed.options.noWav = parsed.settings.noWav;
      parsed.options.noBga = parsed.settings.noBga;
      parsed.options.speedFactor = parsed.settings.realHiSpeed;
      return LoadChartsWithMedia(parsed.paths, parsed.options, parsed.settings.loadThreads, out);
    }
    return LoadCharts(parsed.paths, parsed.options, mode == "--info", out);
  }
  return std::nullopt;
}

}  // namespace vremo
