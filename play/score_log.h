#pragma once
// The score log: after a user play that ran to its end, one result block is
// appended to "vremoscore.txt" in the program's own folder (chart identity,
// song information, options, check values, and both players' figures), and
// the same figures go to the debug log. Called by PlayEngine::FinishPlay on
// the UI thread.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "chart/chart.h"
#include "chart/debug_log.h"
#include "play/judge.h"
#include "play/settings.h"

namespace vremo {

inline constexpr std::string_view kScoreLogFileName = "vremoscore.txt";
inline constexpr std::string_view kScoreLogLineEnd = "\r\n";
inline constexpr std::string_view kResultRule = "----------------";
// The starts of the block's lines, for the writer here and for readers of
// the log (the chart library imports it).
inline constexpr std::string_view kScoreIdPrefix = "*BMS ";
inline constexpr std::string_view kScoreInfoPrefix = "*INF ";
inline constexpr std::string_view kScorePlayerCounts = "P - ";  // after the player's number
inline constexpr std::string_view kJudgePointsLabel = "  J-Pts: ";
inline constexpr std::string_view kPointsLabel = "  Pts: ";
inline constexpr std::string_view kExPointsLabel = "  Ex-Pts: ";
inline constexpr std::string_view kPointsUnit = "pts";

// The "*OPT " line; empty when its check value does not fit 32 bits (the
// line is then left out).
std::optional<std::string> OptionLine(const Chart& chart, const Settings& settings);

// The lines of one block, the empty last line included, without line ends.
std::vector<std::string> ScoreLogLines(const Chart& chart, const ScoreBoard& scores, const Settings& settings);

// Appends the block to folder/vremoscore.txt, never truncating what is
// there (a block cut short by a full disk is taken back); false, with errno
// saying why, when the file could not be opened or written.
bool AppendScoreLog(const std::string& folder, const Chart& chart, const ScoreBoard& scores, const Settings& settings);

// The figures in the debug log, between two rules; with the gauge each
// player ended on ("  Gauge: 43.3%") when asked.
void LogScoreFigures(DebugLog& log, const ScoreBoard& scores, bool withGauge = false);

// "J-Pts: " + the play result formatted "0.0" + "pts".
std::string ResultLine(double playResult);

}  // namespace vremo
