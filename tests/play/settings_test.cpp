#include "play/settings.h"

#include <gtest/gtest.h>

namespace vremo {
namespace {

// The defaults the settings file starts from are checked with its reader.
TEST(Settings, DefaultsAndSetOptionConvertsOrChangesNothing) {
  Settings s;
  EXPECT_FLOAT_EQ(s.realHiSpeed, 1.0f);
  EXPECT_TRUE(s.playKeySound);
  EXPECT_FALSE(s.dontWait || s.nazo || s.titleDisplay);
  EXPECT_EQ(SettingsKeys().size(), 40u);
  EXPECT_EQ(SettingsKeys().front().key, "Left");
  EXPECT_EQ(SettingsKeys().back().key, "WndAutoHide");

  for (const char* text : {"DEMOMode=True", "playkeysound=false", "ShowGauge=0", "Hidden=-1", "Sleep=6.5",
                           "RealHiSpeed= 1.5", "Rect=skins/other.vrd", "MainForm.Left=12.5"}) {
    EXPECT_TRUE(SetOptionText(s, text)) << text;
  }
  EXPECT_TRUE(s.demoMode && s.hidden);
  EXPECT_FALSE(s.playKeySound || s.showGauge);
  EXPECT_EQ(s.sleepMs, 6);  // halves to even
  EXPECT_FLOAT_EQ(s.mainForm.left, 12.5f);

  for (const char* text : {"HiSpeed=abc", "HiSpeed=1,5", "Sleep=3000000000", "WndMode=40000", "UserPlay=yes", "Left=3",
                           "NoSuchOption=1", "Sleep"}) {
    EXPECT_FALSE(SetOptionText(s, text)) << text;
  }
  EXPECT_FLOAT_EQ(s.hiSpeed, 1.0f);
  EXPECT_EQ(s.sleepMs, 6);
  EXPECT_EQ(s.wndMode, 0);
  EXPECT_FLOAT_EQ(s.mainForm.left, 12.5f);

  EXPECT_EQ(OptionText(s, *FindSettingsKey("DEMOMode")), "True");
  EXPECT_EQ(OptionText(s, *FindSettingsKey("ShowGauge")), "False");
  EXPECT_EQ(OptionText(s, *FindSettingsKey("RealHiSpeed")), "1.5");
  EXPECT_EQ(OptionText(s, *FindSettingsKey("Setting.Rect")), "skins/other.vrd");
}

}  // namespace
}  // namespace vremo
