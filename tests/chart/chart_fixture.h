#pragma once
// Loads chart texts written into a temporary folder, the way the player
// would, and keeps the log lines for the assertions.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "chart/bms_reader.h"
#include "chart/numbers.h"

#include "tests/support/temp_folder.h"

namespace vremo::testing {

// CR LF line ends, as charts are distributed.
inline std::string Crlf(const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& line : lines) text += line + "\r\n";
  return text;
}

// Every header field on one line, for whole-header comparisons.
inline std::string HeaderText(const ChartHeader& h) {
  std::string text = h.title + "|" + h.artist + "|" + h.genre + "|" + ShortestDecimal(h.bpm);
  for (int32_t n : {h.player, h.playLevel, h.rank, h.total, h.volWav}) text += "|" + std::to_string(n);
  return text + "|" + h.midiFile;
}

class ChartFixture : public ::testing::Test {
 protected:
  // Loads the bytes as a chart file into the one chart; returns the result.
  int32_t Load(const std::string& bytes, const std::string& name = "song.bms") {
    return LoadPath(folder.Write(name, bytes));
  }
  int32_t LoadPath(const std::string& path) {
    sink.lines.clear();
    LoadContext context{log, *mediaLoader, options, {}};
    return LoadChart(path, *chart, context);
  }
  int32_t LoadLines(const std::vector<std::string>& lines) { return Load(Crlf(lines)); }

  // Log lines from "BMSInfo --------" on.
  std::vector<std::string> InfoLines() const {
    std::vector<std::string> out;
    bool inside = false;
    for (const auto& line : sink.lines) {
      inside = inside || line == "BMSInfo --------";
      if (inside) out.push_back(line);
    }
    return out;
  }
  bool Logged(const std::string& line) const {
    return std::find(sink.lines.begin(), sink.lines.end(), line) != sink.lines.end();
  }

  TempFolder folder;
  std::unique_ptr<Chart> chart = std::make_unique<Chart>();
  MemoryLogSink sink;
  DebugLog log{&sink};
  NullMediaLoader nullMedia;
  MediaLoader* mediaLoader = &nullMedia;
  LoadOptions options;
};

}  // namespace vremo::testing
