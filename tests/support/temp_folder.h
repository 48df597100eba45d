#pragma once
// A temporary folder for one test, removed with everything in it when the
// test ends. Shared by every module's tests.

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace vremo::testing {

class TempFolder {
 public:
  TempFolder() {
    path_ = std::filesystem::temp_directory_path() /
            ("vremo-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter_++));
    std::filesystem::create_directories(path_);
  }
  ~TempFolder() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string Path(const std::string& name) const { return (path_ / name).string(); }

  // Writes the bytes (creating folders on the way) and returns the path.
  std::string Write(const std::string& name, const std::string& bytes) const {
    const auto file = path_ / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
    return file.string();
  }
  std::string Read(const std::string& name) const {
    std::ifstream file(path_ / name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }

 private:
  std::filesystem::path path_;
  static inline int counter_ = 0;
};

}  // namespace vremo::testing
