// A score log folded into a fresh library: every input is read from its start.

#include <filesystem>

#include "fuzz/fuzz_file.h"
#include "library/library_db.h"
#include "play/score_log.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& folder = vremo::fuzz::TempFolder();
  const std::string path = vremo::DefaultLibraryPath(folder);
  for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(path + suffix);
  vremo::fuzz::WriteInput(data, size, vremo::kScoreLogFileName);
  std::string message;
  if (auto db = vremo::LibraryDb::Open(path, &message)) {
    db->ImportScoreLog(folder);
    db->Entries();
  }
  return 0;
}
