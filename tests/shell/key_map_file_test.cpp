#include "shell/key_map_file.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <Qt>
#include <filesystem>

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
  EXPECT_EQ(bytes.substr(2 * 'Z', 2), std::string("\x0b\x00", 2));
  EXPECT_EQ(bytes.substr(2 * 16, 2), std::string("\x10\x00", 2));
  EXPECT_EQ(bytes.substr(2 * 32, 2), std::string("\x10\x00", 2));
  EXPECT_EQ(bytes.substr(2 * 188, 2), std::string("\x19\x00", 2));
  EXPECT_EQ(bytes.substr(2 * 'A', 2), std::string("\x00\x00", 2));

  sink.lines.clear();
  EXPECT_EQ(LoadKeyMap(path, log), map);
  EXPECT_EQ(sink.lines.back(), "load complete.");
}

TEST_F(KeyMapFile, ShortAndStrangeFilesLoadWhatTheyHold) {
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
}

TEST_F(KeyMapFile, AFolderGivesDefaultsAndIsLeftAlone) {
  std::filesystem::create_directory(path);
  EXPECT_EQ(LoadKeyMap(path, log), DefaultKeyMap());
  EXPECT_EQ(sink.lines, (std::vector<std::string>{"Loading vrkeycnf.dat...", "Err[not a file] :vrkeycnf.dat",
                                                  "error! sets default."}));
  EXPECT_FALSE(SaveKeyMap(path, DefaultKeyMap(), log));
  EXPECT_TRUE(std::filesystem::is_directory(path));

  // A linked file of mode 0640 stays linked and keeps its mode.
  const std::string target = folder.Write("keys/map.dat", std::string(512, '\0'));
  ASSERT_EQ(::chmod(target.c_str(), 0640), 0);
  const std::string link = folder.Path("linked.dat");
  std::filesystem::create_symlink(target, link);
  ASSERT_TRUE(SaveKeyMap(link, DefaultKeyMap(), log));
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(ReadFileBytes(target), EncodeKeyMap(DefaultKeyMap()));
  EXPECT_EQ(std::filesystem::status(target).permissions(), std::filesystem::perms::owner_read |
                                                               std::filesystem::perms::owner_write |
                                                               std::filesystem::perms::group_read);
}

TEST(VirtualKeys, QtKeysBecomeWindowsCodes) {
  EXPECT_EQ(VirtualKeyOf(Qt::Key_Z, false), 90);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_1, false), 49);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_Exclam, false), 49);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_1, true), 0x61);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_Shift, false), 16);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_Space, false), 32);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_Return, false), 13);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_Enter, true), 13);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_Comma, false), 188);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_Less, false), 188);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_Period, false), 190);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_Period, true), 110);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_F1, false), 0x70);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_F9, false), 0x78);
  EXPECT_EQ(VirtualKeyOf(Qt::Key_VolumeUp, false), kNoVirtualKey);
}

}  // namespace
}  // namespace vremo
