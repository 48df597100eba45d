#include "chart/media_path.h"

#include <gtest/gtest.h>

#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using testing::TempFolder;

class MediaPaths : public ::testing::Test {
 protected:
  MediaPaths() {
    for (const char* name :
         {"Sounds/Kick.OGG", "bg.png", "Deep/Er/hat.wav", "both.ogg", "both.flac", "exact.wav", "EXACT.wav", "noext"}) {
      folder.Write(name, "x");
    }
  }
  std::string In(const std::string& name) const { return folder.path().string() + "/" + name; }
  std::optional<std::string> Relative(std::optional<std::string> found) const {
    if (found) found->erase(0, folder.path().string().size() + 1);
    return found;
  }
  std::optional<std::string> Found(const std::string& name, MediaKind kind = MediaKind::kSound) const {
    return Relative(ResolveMediaPath(In(name), kind));
  }
  TempFolder folder;
};

TEST_F(MediaPaths, BackslashesCaseAndOtherExtensionsAreForgivenFoldersListedOnce) {
  EXPECT_EQ(Found("Sounds/Kick.OGG"), "Sounds/Kick.OGG");
  EXPECT_EQ(Found("sounds\\kick.ogg"), "Sounds/Kick.OGG");
  EXPECT_EQ(Found("deep\\ER\\HAT.WAV"), "Deep/Er/hat.wav");
  EXPECT_EQ(Found("exact.wav"), "exact.wav");
  EXPECT_TRUE(Found("Exact.wav"));
  EXPECT_EQ(Found("NOEXT"), "noext");

  EXPECT_EQ(Found("sounds/kick.wav"), "Sounds/Kick.OGG");
  EXPECT_EQ(Found("both.wav"), "both.ogg");  // in the order wav, ogg, flac, mp3
  EXPECT_EQ(Found("bg.bmp", MediaKind::kPicture), "bg.png");
  EXPECT_EQ(Found("BG.JPG", MediaKind::kPicture), "bg.png");

  // Other kinds, missing names and folders resolve to nothing.
  EXPECT_FALSE(Found("bg.wav"));
  EXPECT_FALSE(Found("hat.wav", MediaKind::kPicture));
  for (const char* name : {"none.wav", "", "Sounds", "Sounds/", "nofolder/kick.ogg"}) EXPECT_FALSE(Found(name)) << name;

  // One load lists each folder once, whatever the number of names.
  MediaFolderIndex index;
  auto found = [&](const std::string& name, MediaKind kind = MediaKind::kSound) {
    return Relative(index.Resolve(In(name), kind));
  };
  for (int i = 0; i < 500; ++i) {
    EXPECT_FALSE(found("gone" + std::to_string(i) + ".wav"));
    EXPECT_FALSE(found("GONE" + std::to_string(i) + ".bmp", MediaKind::kPicture));
  }
  EXPECT_EQ(found("SOUNDS\\kick.wav"), "Sounds/Kick.OGG");
  EXPECT_EQ(found("BOTH.WAV"), "both.ogg");
  EXPECT_EQ(found("bg.JPG", MediaKind::kPicture), "bg.png");
  EXPECT_EQ(index.listings(), 2) << "the song folder and Sounds";

  folder.Write("Late.WAV", "x");  // the next load sees it
  index.Clear();
  EXPECT_EQ(found("late.wav"), "Late.WAV");
  EXPECT_EQ(index.listings(), 3);
}

}  // namespace
}  // namespace vremo
