#include "shell/key_map_file.h"

#include <gtest/gtest.h>

#include <Qt>
#include <filesystem>
#include <tuple>

#include "chart/bms_reader.h"
#include "shell/virtual_keys.h"
#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using testing::TempFolder;

class KeyMapFile : public ::testing::Test {
 protected:
  TempFolder folder;
  std::string path = (folder.path() / "vrkeycnf.dat").string();
  MemoryLogSink sink;
  DebugLog log{&sink};
};

TEST_F(KeyMapFile, MissingFileGivesDefaultsAndSavesThe512Bytes) {
  const KeyMap map = LoadKeyMap(path, log);
  EXPECT_EQ(sink.lines, (std::vector<std::string>{"Loading vrkeycnf.dat...", "error! sets default."}));
  EXPECT_EQ(map, DefaultKeyMap());

  ASSERT_TRUE(SaveKeyMap(path, map, log));
  EXPECT_EQ(sink.lines.back(), "complete.");
  EXPECT_EQ(sink.lines[2], "saving vrkeycnf.dat...");
  const std::string bytes = ReadFileBytes(path);
  ASSERT_EQ(bytes.size(), 512u);
  for (const auto& [key, code] :
       std::vector<std::pair<int, char>>{{'Z', 11}, {16, 16}, {32, 16}, {188, 25}, {'A', 0}}) {
    EXPECT_EQ(bytes.substr(2 * key, 2), std::string({code, '\0'})) << key;
  }

  sink.lines.clear();
  EXPECT_EQ(LoadKeyMap(path, log), map);
  EXPECT_EQ(sink.lines.back(), "load complete.");
}

TEST_F(KeyMapFile, ShortLongAndStrangeFilesAreReadAndNeverSpoilt) {
  // Z=12, then one odd byte: the rest stays 0; a negative entry reads back.
  std::string bytes(2 * 'Z' + 3, '\0');
  bytes[2 * 'Z'] = 12;
  bytes[2 * 'A'] = static_cast<char>(0xFF);
  bytes[2 * 'A' + 1] = static_cast<char>(0xFF);
  folder.Write("vrkeycnf.dat", bytes);
  const KeyMap map = LoadKeyMap(path, log);
  EXPECT_EQ(sink.lines.back(), "load complete.");
  EXPECT_EQ(map['Z'], 12);
  EXPECT_EQ(map['A'], -1);
  EXPECT_EQ(map[kVkPeriod], 0);

  // A longer file keeps its tail when the table is saved over it.
  folder.Write("vrkeycnf.dat", std::string(520, 'x'));
  ASSERT_TRUE(SaveKeyMap(path, DefaultKeyMap(), log));
  const std::string saved = ReadFileBytes(path);
  EXPECT_EQ(saved.size(), 520u);
  EXPECT_EQ(saved.substr(512), "xxxxxxxx");
  EXPECT_EQ(saved.substr(0, 512), EncodeKeyMap(DefaultKeyMap()));

  // A folder gives the defaults and is left alone.
  std::filesystem::remove(path);
  std::filesystem::create_directory(path);
  sink.lines.clear();
  EXPECT_EQ(LoadKeyMap(path, log), DefaultKeyMap());
  EXPECT_EQ(sink.lines, (std::vector<std::string>{"Loading vrkeycnf.dat...", "Err[not a file] :vrkeycnf.dat",
                                                  "error! sets default."}));
  EXPECT_FALSE(SaveKeyMap(path, DefaultKeyMap(), log));
  EXPECT_TRUE(std::filesystem::is_directory(path));
}

TEST(VirtualKeys, QtKeysBecomeWindowsCodes) {
  const std::vector<std::tuple<int, bool, int>> keys{
      {Qt::Key_Z, false, 90},      {Qt::Key_1, false, 49},       {Qt::Key_Exclam, false, 49},
      {Qt::Key_1, true, 0x61},     {Qt::Key_Shift, false, 16},   {Qt::Key_Space, false, 32},
      {Qt::Key_Return, false, 13}, {Qt::Key_Enter, true, 13},    {Qt::Key_Comma, false, 188},
      {Qt::Key_Less, false, 188},  {Qt::Key_Period, false, 190}, {Qt::Key_Period, true, 110},
      {Qt::Key_F1, false, 0x70},   {Qt::Key_F9, false, 0x78},    {Qt::Key_VolumeUp, false, kNoVirtualKey}};
  for (const auto& [key, keypad, code] : keys) EXPECT_EQ(VirtualKeyOf(key, keypad), code) << key << keypad;
}

}  // namespace
}  // namespace vremo
