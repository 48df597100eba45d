// Play-record files.
#include "shell/record_file.h"

#include <algorithm>
#include <cmath>

#include "chart/file_bytes.h"
#include "chart/numbers.h"
#include "shell/atomic_file.h"
#include "shell/binary_io.h"

namespace vremo {
namespace {

constexpr size_t kHeaderBytes = 12;
constexpr size_t kEntryBytes = sizeof(PlayRecordEntry);
constexpr std::string_view kJPtsRule = "----------------";

// Always 0 × notes − (RANK + 1) × BPM: the first term is a play result that
// is never set, kept so old files check the same.
int32_t CheckValue(const RecordChart& chart) {
  return RoundToInt32(0.0 * 10.0 * chart.noteCount - (static_cast<double>(chart.rank) + 1.0) * chart.bpm).value_or(0);
}

void PutEntry(std::string& out, const PlayRecordEntry& e) {
  for (int32_t field : {e.measure, e.position, e.colour, e.channel, e.sound, e.spare}) PutInt32(out, field);
}

PlayRecordEntry EntryAt(std::string_view bytes, size_t offset) {
  return {Int32At(bytes, offset),      Int32At(bytes, offset + 4),  Int32At(bytes, offset + 8),
          Int32At(bytes, offset + 12), Int32At(bytes, offset + 16), Int32At(bytes, offset + 20)};
}

// The points the record's play made, to one decimal (halves to even).
std::optional<std::string> JPtsText(const RecordChart& chart, int32_t check) {
  if (chart.noteCount == 0) return std::nullopt;  // a division that fails: no line
  const double points = ((static_cast<double>(chart.rank) + 1.0) * chart.bpm + check) / 10.0 / chart.noteCount;
  const double rounded = std::nearbyint(points * 10.0) / 10.0;
  if (!std::isfinite(rounded)) return std::nullopt;
  return ShortestDecimal(rounded == 0.0 ? 0.0 : rounded);
}

}  // namespace

RecordChart RecordChartOf(const Chart& chart) {
  return {chart.bmsId, chart.rank, chart.bpm, chart.totalNotes[0] + chart.totalNotes[1]};
}

std::string RecordFileName(const std::string& answer) {
  const size_t separator = answer.find_last_of("\\/");
  const size_t nameStart = separator == std::string::npos ? 0 : separator + 1;
  if (answer.find('.', nameStart) != std::string::npos) return answer;
  return answer + std::string(kRecordExtension);
}

std::optional<std::string> SaveRecord(const std::string& answer, const PlayRecord& record, const RecordChart& chart,
                                      DebugLog* log) {
  const int32_t length = record.length();
  if (length <= 0 || answer.empty()) return std::nullopt;
  // A length read from a broken file can claim billions of presses; a file
  // that could not be read back is not written.
  const size_t maxLength = (kMaxFileBytes - kHeaderBytes) / kEntryBytes - 1;
  if (static_cast<size_t>(length) > maxLength) {
    if (log != nullptr)
      log->PutLog("Err[too long] :record of " + std::to_string(length) + " presses (over " + std::to_string(maxLength) +
                  ", not saved)");
    return std::nullopt;
  }
  std::string bytes;
  bytes.reserve(kHeaderBytes + kEntryBytes * (static_cast<size_t>(length) + 1));
  PutInt32(bytes, chart.bmsId);
  PutInt32(bytes, CheckValue(chart));
  PutInt32(bytes, length);
  // Entries a full record could not hold were never stored: they are zeros.
  const auto stored = record.entries().size();
  for (size_t i = 0; i <= static_cast<size_t>(length); ++i) {
    PutEntry(bytes, i < stored ? record.entries()[i] : PlayRecordEntry{});
  }
  const std::string path = RecordFileName(answer);
  if (!WriteFileAtomically(path, bytes)) return std::nullopt;
  return path;
}

std::optional<RecordMessage> LoadRecord(const std::string& path, const RecordChart& chart, PlayRecord& record,
                                        DebugLog& log) {
  if (path.empty()) return std::nullopt;
  if (!log.CheckExist(path)) return std::nullopt;
  const FileRead file = ReadWholeFile(path);
  if (!file.ok()) {
    log.PutLog(FileReadErrorLine(file, path));
    return std::nullopt;
  }
  const std::string& bytes = file.bytes;
  if (Int32At(bytes, 0) != chart.bmsId)
    return RecordMessage{std::string(kWrongChartText), std::string(kWrongChartTitle)};

  log.PutLog(kJPtsRule);
  if (auto points = JPtsText(chart, Int32At(bytes, 4))) log.PutLog("J-Pts: " + *points);
  log.PutLog(kJPtsRule);

  const int32_t length = std::max(Int32At(bytes, 8), 0);
  // Entries past the file's end read as zero; only those the file holds are
  // kept in memory, so a broken length cannot claim gigabytes.
  const size_t inFile = bytes.size() > kHeaderBytes ? (bytes.size() - kHeaderBytes) / kEntryBytes : 0;
  const size_t keep = std::min(static_cast<size_t>(length) + 1, std::max(inFile + 1, size_t{kRecordCapacity}));
  std::vector<PlayRecordEntry> entries(keep);
  for (size_t i = 0; i < keep; ++i) entries[i] = EntryAt(bytes, kHeaderBytes + kEntryBytes * i);
  record.Assign(std::move(entries), length);
  return std::nullopt;
}

}  // namespace vremo
