#pragma once
// Play-record files (*.vpd): SaveRecord writes the engine's record for the
// loaded chart, LoadRecord reads one back when it belongs to that chart. The
// main window asks for the file name (its dialogs use kRecordFileFilter) and
// shows the returned message; these functions never open a window.
// UI thread only.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "chart/chart.h"
#include "chart/debug_log.h"
#include "play/play_record.h"

namespace vremo {

inline constexpr std::string_view kRecordFileFilter = "Vremo Play Data|*.vpd|All Files|*.*";
inline constexpr std::string_view kRecordExtension = ".vpd";
inline constexpr std::string_view kWrongChartText = "this record file cannot use for this BMS!";
inline constexpr std::string_view kWrongChartTitle = "bms-id is not collect";

// What a record file needs of the loaded chart.
struct RecordChart {
  int32_t bmsId = 0;
  int32_t rank = 0;
  float bpm = 0.0f;
  int32_t noteCount = 0;  // notes of player 1 and player 2
};
RecordChart RecordChartOf(const Chart& chart);

// A message box for the window: critical-stop icon.
struct RecordMessage {
  std::string text;
  std::string title;
};

// The dialog's answer as a file name: ".vpd" is added when the part after
// the last "\" or "/" has no ".".
std::string RecordFileName(const std::string& answer);

// Writes the record (entries 0 to N, entry N unused) to
// RecordFileName(answer), replacing any file of that name. Nothing happens
// when the record is empty or the answer is empty; a record whose file would
// be larger than a file the player reads is refused with a log line. Returns
// the path written.
std::optional<std::string> SaveRecord(const std::string& answer, const PlayRecord& record, const RecordChart& chart,
                                      DebugLog* log = nullptr);

// Reads the file into `record` when its BMS-ID is the chart's, logging the
// J-Pts lines; otherwise returns the wrong-chart message and leaves the
// record alone. A file cut short reads as zeros past its end.
std::optional<RecordMessage> LoadRecord(const std::string& path, const RecordChart& chart, PlayRecord& record,
                                        DebugLog& log);

}  // namespace vremo
