// The score log block and its debug-log copy.
#include "play/score_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>

#include "chart/file_bytes.h"
#include "chart/numbers.h"
#include "play/number_format.h"

namespace vremo {
namespace {

constexpr mode_t kNewLogMode = 0666;  // a new log: the umask decides, as for any file
constexpr double kTrueValue = -1.0;   // how a true option enters the check value
// Weights of the note settings in the option check value.
constexpr double kHiddenWeight = 8.0;
constexpr double kSuddenWeight = 4.0;
constexpr double kStealthWeight = 2.0;
constexpr double kAccelWeight = 16.0;
constexpr double kNazoWeight = 32.0;
constexpr double kReverseWeight = 1.0;
constexpr double kDecimalScale = 10.0;
// Only 2 Players and Battle charts log the second player's check value.
constexpr int32_t kPlayerTwoPlayers = 2;
constexpr int32_t kPlayerBattle = 4;

double OptionValue(bool on) { return on ? kTrueValue : 0.0; }
std::string Flag(bool on) { return on ? "-1" : "0"; }

std::string UpperHex(int32_t value) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%X", static_cast<unsigned>(static_cast<uint32_t>(value)));
  return buffer;
}

// J-Pts rounded to one decimal (halves to even) x 10 x notes - (level + 1) x BPM.
std::optional<int32_t> CheckValue(float jPts, int32_t notes, const Chart& chart) {
  const double oneDecimal = std::nearbyint(static_cast<double>(jPts) * kDecimalScale) / kDecimalScale;
  return RoundToInt32(oneDecimal * kDecimalScale * notes - (static_cast<double>(chart.playLevel) + 1) * chart.bpm);
}

std::optional<std::string> ValueLine(const Chart& chart, const ScoreBoard& scores) {
  const auto first = CheckValue(scores.players[0].jPts, chart.totalNotes[0], chart);
  if (!first) return std::nullopt;
  std::string line = "*VAL " + std::to_string(*first);
  if (chart.player == kPlayerTwoPlayers || chart.player == kPlayerBattle) {
    const auto second = CheckValue(scores.players[1].jPts, chart.totalNotes[1], chart);
    if (!second) return std::nullopt;
    line += "," + std::to_string(*second);
  }
  return line;
}

std::string JPtsLine(const PlayerScore& s) {
  return std::string(kJudgePointsLabel) + FormatNumber(s.jPts, 1, 1) + std::string(kPointsUnit);
}
std::string PtsLine(const PlayerScore& s) {
  return std::string(kPointsLabel) + FormatNumber(s.pts, 1, 0) + std::string(kPointsUnit);
}
std::string ExPtsLine(const PlayerScore& s) {
  return std::string(kExPointsLabel) + std::to_string(s.ExPts()) + std::string(kPointsUnit);
}
std::string Counts(const PlayerScore& s) {
  return "fGreat " + std::to_string(s.fGreat) + " Great " + std::to_string(s.great) + " Good " +
         std::to_string(s.good) + " Bad " + std::to_string(s.bad) + " Poor " + std::to_string(s.poor);
}

std::string ScoreLogPath(const std::string& folder) {
  if (folder.empty()) return std::string(kScoreLogFileName);
  const char last = folder.back();
  return folder + (last == '/' || last == '\\' ? "" : "/") + std::string(kScoreLogFileName);
}

}  // namespace

std::optional<std::string> OptionLine(const Chart& chart, const Settings& s) {
  const double speed = static_cast<double>(s.hiSpeed) * s.realHiSpeed;
  const double weights = speed + OptionValue(s.hidden) * kHiddenWeight + OptionValue(s.sudden) * kSuddenWeight +
                         OptionValue(s.stealth) * kStealthWeight + OptionValue(s.accel) * kAccelWeight +
                         OptionValue(s.nazo) * kNazoWeight + OptionValue(s.reverse) * kReverseWeight;
  const auto check = RoundToInt32(static_cast<double>(chart.bmsId) * chart.bpm * weights);
  const auto hiSpeed = RoundToInt32(s.hiSpeed);
  const auto realHiSpeed = RoundToInt32(s.realHiSpeed);
  if (!check || !hiSpeed || !realHiSpeed) return std::nullopt;
  // Stealth twice and Nazo never: the log has always read that way.
  return "*OPT " + UpperHex(*check) + "," + std::to_string(*hiSpeed) + "," + std::to_string(*realHiSpeed) + "," +
         Flag(s.hidden) + "," + Flag(s.sudden) + "," + Flag(s.stealth) + "," + Flag(s.accel) + "," + Flag(s.reverse) +
         "," + Flag(s.stealth);
}

std::vector<std::string> ScoreLogLines(const Chart& chart, const ScoreBoard& scores, const Settings& settings) {
  std::vector<std::string> lines;
  lines.push_back(std::string(kScoreIdPrefix) + std::to_string(chart.bmsId));
  lines.push_back(std::string(kScoreInfoPrefix) + chart.genre + "\t" + chart.title + "\t" + chart.artist + "\t" +
                  std::to_string(chart.playLevel) + "\t" + std::to_string(chart.rank) + "\t" +
                  ShortestDecimal(chart.bpm) + "\t" + std::to_string(chart.totalNotes[0]) + "\t" +
                  std::to_string(chart.totalNotes[1]));
  if (auto line = OptionLine(chart, settings)) lines.push_back(*line);
  if (auto line = ValueLine(chart, scores)) lines.push_back(*line);
  for (int p = 0; p < 2; ++p) {
    const PlayerScore& s = scores.players[p];
    lines.push_back(std::to_string(p + 1) + std::string(kScorePlayerCounts) + Counts(s));
    lines.push_back(JPtsLine(s));
    lines.push_back(PtsLine(s));
    lines.push_back(ExPtsLine(s));
  }
  lines.emplace_back(kResultRule);
  lines.emplace_back();
  return lines;
}

bool AppendScoreLog(const std::string& folder, const Chart& chart, const ScoreBoard& scores, const Settings& settings) {
  std::string block;
  for (const std::string& line : ScoreLogLines(chart, scores, settings)) {
    block += line;
    block += kScoreLogLineEnd;
  }
  const int fd = ::open(ScoreLogPath(folder).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, kNewLogMode);
  if (fd < 0) return false;
  struct stat before {};
  const bool sized = ::fstat(fd, &before) == 0;
  bool ok = WriteAllBytes(fd, block);
  const int error = errno;
  // A block cut short (a full disk) is taken back: the log keeps whole blocks.
  if (!ok && sized && ::ftruncate(fd, before.st_size) != 0) ok = false;
  ok = ::close(fd) == 0 && ok;
  if (!ok) errno = error;
  return ok;
}

void LogScoreFigures(DebugLog& log, const ScoreBoard& scores, bool withGauge) {
  log.PutLog(kResultRule);
  for (int p = 0; p < 2; ++p) {
    const PlayerScore& s = scores.players[p];
    log.PutLog(std::to_string(p + 1) + "P -");
    log.PutLog(JPtsLine(s));
    log.PutLog(PtsLine(s));
    log.PutLog(ExPtsLine(s));
    if (withGauge) log.PutLog("  Gauge: " + FormatNumber(s.gauge, 1, 1) + "%");
    log.PutLog("    " + Counts(s));
  }
  log.PutLog(kResultRule);
}

std::string ResultLine(double playResult) { return "J-Pts: " + FormatNumber(playResult, 1, 1) + "pts"; }

}  // namespace vremo
