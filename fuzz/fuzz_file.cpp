#include "fuzz/fuzz_file.h"

#include <QGuiApplication>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace vremo::fuzz {

namespace {

void RemoveTempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(TempFolder(), ignored);
}

}  // namespace

const std::string& TempFolder() {
  // Never destroyed: the exit handler that removes the folder still needs it.
  static const std::string* folder = [] {
    auto* pattern = new std::string((std::filesystem::temp_directory_path() / "vremo-fuzz-XXXXXX").string());
    if (mkdtemp(pattern->data()) == nullptr) std::abort();
    std::atexit(RemoveTempFolder);
    return pattern;
  }();
  return *folder;
}

std::string WriteInput(const uint8_t* data, size_t size, std::string_view name) {
  std::string path = TempFolder() + "/" + std::string(name);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  return path;
}

void StartGuiApplication() {
  static int argc = 1;
  static char name[] = "vremo-fuzz";
  static char* argv[] = {name, nullptr};
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  static QGuiApplication* app = new QGuiApplication(argc, argv);
  (void)app;
}

}  // namespace vremo::fuzz
