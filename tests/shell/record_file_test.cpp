#include "shell/record_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "chart/bms_reader.h"
#include "shell/binary_io.h"
#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using testing::TempFolder;

constexpr RecordChart kChart{12345, 2, 150.0f, 40};

PlayRecord Presses(int32_t count) {
  PlayRecord record;
  record.StartRecording();
  for (int32_t i = 0; i < count; ++i) record.Append({i, 48 * i, 0xFF00, 11 + i, 3, 0});
  return record;
}

class RecordFile : public ::testing::Test {
 protected:
  TempFolder folder;
  MemoryLogSink sink;
  DebugLog log{&sink};
};

TEST_F(RecordFile, FileLayoutNamingAndNothingToSave) {
  const auto path = SaveRecord((folder.path() / "take1").string(), Presses(3), kChart);
  ASSERT_TRUE(path.has_value());
  EXPECT_EQ(*path, (folder.path() / "take1.vpd").string());
  const std::string bytes = ReadFileBytes(*path);
  ASSERT_EQ(bytes.size(), 12u + 24u * (3 + 1));
  EXPECT_EQ(Int32At(bytes, 0), 12345);
  EXPECT_EQ(Int32At(bytes, 4), -450);  // -(RANK + 1) x BPM
  EXPECT_EQ(Int32At(bytes, 8), 3);
  // Entry 2: measure, position, colour, channel, sound, spare.
  const int32_t second[] = {2, 96, 0xFF00, 13, 3, 0};
  for (int field = 0; field < 6; ++field) EXPECT_EQ(Int32At(bytes, 12 + 24 * 2 + 4 * field), second[field]) << field;
  for (size_t offset = 12 + 24 * 3; offset < bytes.size(); offset += 4) EXPECT_EQ(Int32At(bytes, offset), 0);

  // Read back on the same chart.
  PlayRecord loaded;
  EXPECT_FALSE(LoadRecord(*path, kChart, loaded, log).has_value());
  EXPECT_EQ(loaded.length(), 3);
  EXPECT_EQ(loaded.Entry(1).position, 48);
  EXPECT_EQ(loaded.Entry(2).channel, 13);
  EXPECT_EQ(sink.lines, (std::vector<std::string>{"----------------", "J-Pts: 0", "----------------"}));

  // The extension is added only where the name has none.
  EXPECT_EQ(RecordFileName("/home/u/take1"), "/home/u/take1.vpd");
  EXPECT_EQ(RecordFileName("/home/u/take.1"), "/home/u/take.1");
  EXPECT_EQ(RecordFileName("C:\\my.dir\\take"), "C:\\my.dir\\take.vpd");
  EXPECT_EQ(RecordFileName("/my.dir/take"), "/my.dir/take.vpd");
  const std::string keep = (folder.path() / "take.1").string();
  ASSERT_TRUE(SaveRecord(keep, Presses(1), kChart).has_value());
  EXPECT_EQ(ReadFileBytes(keep).size(), 12u + 48u);
  // An empty record writes nothing and leaves an existing file alone.
  EXPECT_FALSE(SaveRecord(keep, Presses(0), kChart).has_value());
  EXPECT_EQ(ReadFileBytes(keep).size(), 12u + 48u);
}

TEST_F(RecordFile, OtherChartsShortAndCorruptFiles) {
  // A record of another chart changes nothing and logs nothing.
  const auto other = SaveRecord((folder.path() / "other").string(), Presses(2), RecordChart{777, 2, 150.0f, 40});
  ASSERT_TRUE(other.has_value());
  PlayRecord current = Presses(5);
  const auto message = LoadRecord(*other, kChart, current, log);
  ASSERT_TRUE(message.has_value());
  EXPECT_EQ(message->text, "this record file cannot use for this BMS!");
  EXPECT_EQ(message->title, "bms-id is not collect");
  EXPECT_EQ(current.length(), 5);
  EXPECT_EQ(current.Entry(4).channel, 15);
  EXPECT_TRUE(sink.lines.empty());

  // The header claims 1000 presses; one is in the file.
  std::string bytes;
  PutInt32(bytes, 12345);
  PutInt32(bytes, -450 + 4000);  // 10 points per note
  PutInt32(bytes, 1000);
  for (int32_t field : {1, 2, 3, 11, 4, 0}) PutInt32(bytes, field);
  const std::string path = folder.Write("short.vpd", bytes);
  PlayRecord record;
  EXPECT_FALSE(LoadRecord(path, kChart, record, log).has_value());
  EXPECT_EQ(record.length(), 1000);
  EXPECT_EQ(record.Entry(0).channel, 11);
  EXPECT_EQ(record.Entry(1).channel, 0);
  EXPECT_EQ(record.Entry(999).position, 0);
  EXPECT_EQ(sink.lines.at(1), "J-Pts: 10");

  // A huge length in a tiny file does not allocate for it.
  std::string huge = bytes.substr(0, 8);
  PutInt32(huge, INT32_MAX);
  PlayRecord big;
  EXPECT_FALSE(LoadRecord(folder.Write("huge.vpd", huge), kChart, big, log).has_value());
  EXPECT_EQ(big.length(), INT32_MAX);
  EXPECT_LE(big.entries().size(), static_cast<size_t>(kRecordCapacity));

  // Saving it back would claim 48 GB: refused with its line, nothing written.
  sink.lines.clear();
  const std::string again = (folder.path() / "again.vpd").string();
  EXPECT_FALSE(SaveRecord(again, big, kChart, &log).has_value());
  EXPECT_EQ(sink.lines,
            std::vector<std::string>{"Err[too long] :record of 2147483647 presses (over 2796201, not saved)"});
  EXPECT_FALSE(std::filesystem::exists(again));

  // Two bytes: the BMS-ID reads as 0x0201, not ours.
  EXPECT_TRUE(LoadRecord(folder.Write("cut.vpd", "\x01\x02"), kChart, current, log).has_value());
  EXPECT_EQ(current.length(), 5);

  // A chart without notes: the points line is left out.
  sink.lines.clear();
  PlayRecord noNotes;
  EXPECT_FALSE(LoadRecord(path, RecordChart{12345, 2, 150.0f, 0}, noNotes, log).has_value());
  EXPECT_EQ(sink.lines, (std::vector<std::string>{"----------------", "----------------"}));
}

}  // namespace
}  // namespace vremo
