#include "shell/program_folder.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <optional>

#include "tests/support/temp_folder.h"

namespace vremo {
namespace {

namespace fs = std::filesystem;
using testing::TempFolder;

// Sets a variable (unsets it for "") for one test and restores it after.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::string& value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    value.empty() ? ::unsetenv(name) : ::setenv(name, value.c_str(), 1);
  }
  ~ScopedEnv() { old_ ? ::setenv(name_, old_->c_str(), 1) : ::unsetenv(name_); }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST(ProgramFolder, InstalledPrefixIsFoundWhereverItMovesAndNeverWrittenTo) {
  TempFolder root;
  root.Write("usr/share/vremo/default.vrd", "#FILE default_skin.png\r\n");
  root.Write("usr/share/vremo/demo/demo.bms", "#TITLE t\r\n");
  fs::create_directories(root.path() / "usr/bin");
  ScopedEnv noHome("VREMO_HOME", "");
  ScopedEnv data("XDG_DATA_HOME", root.Path("data"));

  BundledAssets found = LocateBundledAssets(root.path() / "usr/bin", "/nowhere");
  EXPECT_EQ(found.folder, root.Path("usr/share/vremo"));
  EXPECT_TRUE(found.installed);
  // The bin folder is writable here (and for root), yet user files go to the data folder.
  EXPECT_EQ(ProgramFolderFor(root.path() / "usr/bin"), root.Path("data/vremo"));
  EXPECT_TRUE(fs::is_directory(root.path() / "data/vremo"));

  // A relocated prefix works the same.
  fs::rename(root.path() / "usr", root.path() / "opt");
  found = LocateBundledAssets(root.path() / "opt/bin", "/nowhere");
  EXPECT_EQ(found.folder, root.Path("opt/share/vremo"));
  EXPECT_TRUE(found.installed);

  // $VREMO_HOME still comes first.
  {
    ScopedEnv home("VREMO_HOME", root.Path("mine"));
    EXPECT_EQ(ProgramFolderFor(root.path() / "opt/bin"), root.Path("mine"));
  }

  // A share/vremo without the default layout is not ours: the build tree's
  // assets and the writable executable folder, as before.
  fs::remove(root.path() / "opt/share/vremo/default.vrd");
  found = LocateBundledAssets(root.path() / "opt/bin", "/src/assets");
  EXPECT_EQ(found.folder, "/src/assets");
  EXPECT_FALSE(found.installed);
  EXPECT_EQ(ProgramFolderFor(root.path() / "opt/bin"), root.Path("opt/bin"));

  // A portable folder: assets beside the executable, files beside it too.
  fs::create_directories(root.path() / "portable/assets");
  found = LocateBundledAssets(root.path() / "portable", "/src/assets");
  EXPECT_EQ(found.folder, root.Path("portable/assets"));
  EXPECT_FALSE(found.installed);
  EXPECT_EQ(ProgramFolderFor(root.path() / "portable"), root.Path("portable"));
}

}  // namespace
}  // namespace vremo
