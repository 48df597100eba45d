#include "shell/settings_file.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <QCheckBox>
#include <QComboBox>

#include <csignal>
#include <filesystem>
#include <iterator>

#include "chart/bms_reader.h"
#include "shell/main_window.h"
#include "shell/profile_file.h"
#include "tests/chart/chart_fixture.h"
#include "tests/shell/window_test_support.h"

namespace vremo {
namespace {

using testing::TempFolder;

class SettingsFile : public ::testing::Test {
 protected:
  std::string Read(Settings& settings) { return ReadSettings(path, settings, log) ? "read" : "missing"; }
  static void ExpectFreshInstall(const Settings& settings) {
    for (const SettingsKey& key : SettingsKeys()) EXPECT_EQ(OptionText(settings, key), OptionText({}, key)) << key.key;
  }

  TempFolder folder;
  std::string path = (folder.path() / "vremo.ini").string();
  MemoryLogSink sink;
  DebugLog log{&sink};
};

TEST_F(SettingsFile, RoundTripKeepsEveryValueInTheWriteOrder) {
  Settings written;
  for (const char* option :
       {"MainForm.Left=12.5", "MainForm.Top=30", "MainForm.Width=800", "MainForm.Height=600", "MainForm.WindowState=2",
        "PlayList.Left=1", "PlayList.Top=2", "PlayList.Width=3", "PlayList.Height=4", "PlayList.WindowState=1",
        "Sleep=1", "HiSpeed=2.5", "RealHiSpeed=0.75", "Rect=my skin.vrd", "UserPlay=True", "PlaySound=False",
        "Nazo=True", "WndMode=1", "WndAutoHide=1"}) {
    ASSERT_TRUE(SetOptionText(written, option)) << option;
  }
  ASSERT_TRUE(WriteSettings(path, written));

  const std::string text = ReadFileBytes(path);
  EXPECT_TRUE(
      text.starts_with("[MainForm]\r\nLeft=12.5\r\nTop=30\r\nWidth=800\r\nHeight=600\r\nWindowState=2\r\n\r\n"
                       "[PlayList]\r\nLeft=1\r\nTop=2\r\n"))
      << text;
  EXPECT_NE(text.find("[Setting]\r\nTitleDisplay=False\r\nSleep=1\r\nNoBGA=False\r\n"), std::string::npos);
  EXPECT_NE(text.find("HiSpeed=2.5\r\nRealHiSpeed=0.75\r\nPolMode=False\r\nRect=my skin.vrd\r\nShowGauge=True\r\n"
                      "DontStretch=False\r\nDontWait=False\r\nWndMode=1\r\nWndAutoHide=1\r\n\r\n[NoteSetting]"),
            std::string::npos);

  Settings read = UnsetSettings();
  EXPECT_EQ(Read(read), "read");
  for (const SettingsKey& key : SettingsKeys()) {
    EXPECT_EQ(OptionText(read, key), OptionText(written, key)) << key.section << "." << key.key;
  }
}

// Options newer than the classic file join it only once the user changed
// them: a file saved with them untouched keeps every byte.
TEST_F(SettingsFile, NewerOptionsAreWrittenOnlyOnceSet) {
  ASSERT_TRUE(WriteSettings(path, Settings{}));
  const std::string classic = ReadFileBytes(path);
  EXPECT_EQ(classic.find("ModernReading"), std::string::npos);
  ASSERT_TRUE(WriteSettings(path, Settings{}));
  EXPECT_EQ(ReadFileBytes(path), classic);

  Settings modern;
  ASSERT_TRUE(SetOptionText(modern, "ModernReading=True"));
  ASSERT_TRUE(WriteSettings(path, modern));
  const std::string text = ReadFileBytes(path);
  EXPECT_NE(text.find("WndAutoHide=0\r\nModernReading=True\r\n\r\n[NoteSetting]"), std::string::npos) << text;
  Settings read;
  EXPECT_EQ(Read(read), "read");
  EXPECT_TRUE(read.modernReading);

  // Once in the file the key stays, with its value.
  ASSERT_TRUE(WriteSettings(path, Settings{}));
  EXPECT_NE(ReadFileBytes(path).find("WndAutoHide=0\r\nModernReading=False\r\n"), std::string::npos);
  EXPECT_EQ(Read(read), "read");
  EXPECT_FALSE(read.modernReading);

  // The sound block and VSync join after it, in the table's order.
  Settings timing;
  ASSERT_TRUE(SetOptionText(timing, "AudioBufferFrames=64"));
  ASSERT_TRUE(SetOptionText(timing, "VSync=True"));
  ASSERT_TRUE(WriteSettings(path, timing));
  EXPECT_NE(ReadFileBytes(path).find("ModernReading=False\r\nAudioBufferFrames=64\r\nVSync=True\r\n\r\n"),
            std::string::npos);
  EXPECT_EQ(Read(read), "read");
  EXPECT_EQ(read.audioBufferFrames, 64);
  EXPECT_TRUE(read.vsync);
}

TEST_F(SettingsFile, ExistingFileKeepsMissingKeysBadValuesAndCutsLongOnes) {
  folder.Write("vremo.ini", "[Setting]\r\nSleep=10\r\nHiSpeed=abc\r\n");
  Settings settings = UnsetSettings();
  EXPECT_EQ(Read(settings), "read");
  EXPECT_TRUE(sink.lines.empty());
  EXPECT_EQ(settings.sleepMs, 10);
  EXPECT_FLOAT_EQ(settings.hiSpeed, 0.0f);
  EXPECT_FALSE(settings.playSound || settings.showGauge || settings.showObj || settings.playKeySound);
  EXPECT_EQ(settings.rect, "default.vrd");
  EXPECT_EQ(settings.wndMode, 0);

  // Names match without regard to case, values are trimmed, numbers convert.
  folder.Write("vremo.ini", "[setting]\nsleep = 3 \nShowGauge=-1\nPlaySound=0\nRect=\"a b.vrd\"\n");
  settings.playSound = true;
  Read(settings);
  EXPECT_EQ(settings.sleepMs, 3);
  EXPECT_TRUE(settings.showGauge);
  EXPECT_FALSE(settings.playSound);
  EXPECT_EQ(settings.rect, "a b.vrd");

  // Long values are cut to 127 characters, not bytes.
  folder.Write("vremo.ini", "[Setting]\r\nRect=" + std::string(200, 'r') + "\r\n");
  Read(settings);
  EXPECT_EQ(settings.rect, std::string(127, 'r'));
  EXPECT_EQ(CutToChars("\xE3\x81\x82\xE3\x81\x84x", 2), "\xE3\x81\x82\xE3\x81\x84");
}

TEST_F(SettingsFile, WriteKeepsUnrelatedKeysAndTheModeThroughALink) {
  const std::string target = folder.Write(
      "real/vremo.ini",
      "; my notes\r\n[Other]\r\nA=1\r\n\r\n[Setting]\r\nSleep=9\r\nMine=kept\r\n\r\n[MainForm]\r\nLeft=5\r\n");
  ASSERT_EQ(::chmod(target.c_str(), 0600), 0);
  std::filesystem::create_symlink("real/vremo.ini", path);
  Settings settings;
  settings.sleepMs = 2;
  settings.wndMode = kNoWndMode;
  ASSERT_TRUE(WriteSettings(path, settings));
  EXPECT_TRUE(std::filesystem::is_symlink(path));
  const std::string text = ReadFileBytes(target);
  EXPECT_TRUE(text.starts_with("; my notes\r\n[Other]\r\nA=1\r\n\r\n[Setting]\r\nSleep=2\r\nMine=kept\r\n")) << text;
  EXPECT_NE(text.find("[MainForm]\r\nLeft=0\r\nTop=0\r\n"), std::string::npos);
  EXPECT_EQ(text.find("WndMode"), std::string::npos);
  EXPECT_EQ(std::filesystem::status(target).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path() / "real"), {}), 1);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2);
}

TEST_F(SettingsFile, FailedWriteLeavesTheOldFile) {
  const std::string old = "[Setting]\r\nSleep=7\r\n";
  folder.Write("vremo.ini", old);
  // A file-size limit makes the write fail half-way, as a full disk would.
  rlimit saved{};
  ::getrlimit(RLIMIT_FSIZE, &saved);
  const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit small = saved;
  small.rlim_cur = 16;
  ::setrlimit(RLIMIT_FSIZE, &small);
  Settings settings;
  const bool written = WriteSettings(path, settings);
  ::setrlimit(RLIMIT_FSIZE, &saved);
  std::signal(SIGXFSZ, previousHandler);
  EXPECT_FALSE(written);
  EXPECT_EQ(ReadFileBytes(path), old);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
  // A missing folder as well.
  EXPECT_FALSE(WriteSettings((folder.path() / "none" / "vremo.ini").string(), settings));
}

TEST_F(SettingsFile, NumbersComeBackWithinTheirControlsRange) {
  // A Sleep of 24 days would never return to answer a command.
  folder.Write("vremo.ini",
               "[MainForm]\r\nWidth=1e30\r\nWindowState=7\r\n[Setting]\r\nSleep=2147483647\r\nHiSpeed=100\r\n");
  Settings settings = UnsetSettings();
  EXPECT_EQ(Read(settings), "read");
  EXPECT_EQ(settings.sleepMs, kMaxSleepMs);
  EXPECT_FLOAT_EQ(settings.hiSpeed, kMaxHiSpeed);
  EXPECT_FLOAT_EQ(settings.realHiSpeed, 0.0f);
  EXPECT_FLOAT_EQ(settings.mainForm.width, kMaxWindowCoordinate);
  EXPECT_EQ(settings.mainForm.windowState, kWindowMaximised);

  folder.Write("vremo.ini",
               "[Setting]\r\nSleep=-3\r\nHiSpeed=0.1\r\nRealHiSpeed=0\r\nWndMode=9\r\nWndAutoHide=-1\r\n"
               "AudioBufferFrames=8\r\n");
  Read(settings);
  EXPECT_EQ(settings.sleepMs, kMinSleepMs);
  EXPECT_FLOAT_EQ(settings.hiSpeed, kMinHiSpeed);
  EXPECT_FLOAT_EQ(settings.realHiSpeed, kMinRealHiSpeed);
  EXPECT_EQ(settings.wndMode, 1);
  EXPECT_EQ(settings.wndAutoHide, 0);
  EXPECT_EQ(settings.audioBufferFrames, kMinAudioBufferFrames);

  // Missing and unconvertible numbers keep what the field held.
  folder.Write("vremo.ini", "[Setting]\r\nSleep=\r\nRealHiSpeed=fast\r\nHiSpeed=1e999\r\n");
  Read(settings);
  EXPECT_EQ(settings.sleepMs, kMinSleepMs);
  EXPECT_FLOAT_EQ(settings.realHiSpeed, kMinRealHiSpeed);
  EXPECT_FLOAT_EQ(settings.hiSpeed, kMinHiSpeed);
}

TEST_F(SettingsFile, AutoHideIsTickedAndComesBackAtExit) {
  testing::App();
  folder.Write("vremo.ini", "[Setting]\r\nWndAutoHide=1\r\nSleep=2147483647\r\n");
  auto window = std::make_unique<MainWindow>(folder.path().string());
  window->StartUp();
  EXPECT_TRUE(testing::FindControl<QCheckBox>(*window, "chkAutoHide")->isChecked());
  EXPECT_EQ(testing::FindControl<QComboBox>(*window, "cmbSleep")->currentText(), "20");
  EXPECT_EQ(window->settings().sleepMs, 20);
  window->close();
  EXPECT_NE(ReadFileBytes(path).find("\r\nWndAutoHide=1\r\n"), std::string::npos);
}

TEST_F(SettingsFile, MissingOrUnreadableFileGivesDefaultsAndIsKeptOrLeftAlone) {
  Settings settings = UnsetSettings();
  EXPECT_EQ(Read(settings), "missing");
  EXPECT_EQ(sink.lines, std::vector<std::string>{"Err[not exist] :vremo.ini"});
  ExpectFreshInstall(settings);
  EXPECT_FALSE(std::filesystem::exists(path));

  // No settings text: read as a fresh install, kept as vremo.ini.bak at exit.
  const std::string garbage("\x89PNG\r\n\0\0[Setting]\r\nSleep=3\r\n\xFF\xFE", 26);
  folder.Write("vremo.ini", garbage);
  settings = UnsetSettings();
  sink.lines.clear();
  EXPECT_EQ(Read(settings), "missing");
  EXPECT_EQ(sink.lines, std::vector<std::string>{"Err[not a settings file] :vremo.ini"});
  ExpectFreshInstall(settings);
  ASSERT_TRUE(WriteSettings(path, settings, &log));
  EXPECT_EQ(sink.lines.back(), "vremo.ini could not be read: kept as vremo.ini.bak");
  EXPECT_EQ(ReadFileBytes(path + ".bak"), garbage);
  EXPECT_EQ(Read(settings), "read");

  // A FIFO neither blocks nor is replaced.
  std::filesystem::remove(path);
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  sink.lines.clear();
  EXPECT_EQ(Read(settings), "missing");
  EXPECT_EQ(sink.lines, std::vector<std::string>{"Err[not a file] :vremo.ini"});
  EXPECT_FALSE(WriteSettings(path, settings, &log));
  EXPECT_EQ(sink.lines.back(), "vremo.ini could not be read: left as it is, settings not saved");
  EXPECT_EQ(std::filesystem::status(path).type(), std::filesystem::file_type::fifo);
}

}  // namespace
}  // namespace vremo
