// make_stress OUTDIR: writes the charts that measure Vremo's worst loads, for
// `/usr/bin/time -v vremo --render ...` before and after a change:
//   missing/missing.bms  5,180 #WAV names, none of them present, in a folder
//                        of 5,000 other files (the cost of name resolution);
//                        missing_bmp.bms the same with #BMP names (--snapshot)
//   shared/shared.bms    one 10-minute FLAC named by all 256 #WAV slots
//                        (decoded memory)
//   long/long.bms        a chart 23 days long at tempo 1 (render memory)
// Nothing here is part of the player.

#include <sndfile.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int kFolderFiles = 5000;
constexpr int kMissingNames = 5180;
constexpr int kSlots = 256;
constexpr int kRate = 44100;
constexpr int kFlacSeconds = 600;

std::string Hex2(int value) {
  char text[3];
  std::snprintf(text, sizeof text, "%02X", value & 0xFF);
  return text;
}

bool WriteText(const fs::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
  return static_cast<bool>(file);
}

bool WriteMissing(const fs::path& dir) {
  fs::create_directories(dir);
  for (int i = 0; i < kFolderFiles; ++i) {
    if (!WriteText(dir / ("present" + std::to_string(i) + ".ogg"), "")) return false;
  }
  std::string chart = "#BPM 120\r\n";
  for (int i = 0; i < kMissingNames; ++i) chart += "#WAV" + Hex2(i) + " missing" + std::to_string(i) + ".wav\r\n";
  chart += "#00111:01\r\n";
  std::string pictures = "#BPM 120\r\n";
  for (int i = 0; i < kMissingNames; ++i) pictures += "#BMP" + Hex2(i) + " missing" + std::to_string(i) + ".bmp\r\n";
  pictures += "#00111:01\r\n";
  return WriteText(dir / "missing.bms", chart) && WriteText(dir / "missing_bmp.bms", pictures);
}

// A quiet 440 Hz tone, so the file compresses like real music does not.
bool WriteFlac(const fs::path& path) {
  SF_INFO info{};
  info.samplerate = kRate;
  info.channels = 2;
  info.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (file == nullptr) return false;
  std::vector<float> block(static_cast<size_t>(kRate) * 2);
  bool ok = true;
  for (int second = 0; second < kFlacSeconds && ok; ++second) {
    for (int i = 0; i < kRate; ++i) {
      const float value = static_cast<float>(0.2 * std::sin(2.0 * M_PI * 440.0 * i / kRate));
      block[2 * i] = block[2 * i + 1] = value;
    }
    ok = sf_writef_float(file, block.data(), kRate) == kRate;
  }
  return sf_close(file) == 0 && ok;
}

bool WriteShared(const fs::path& dir) {
  fs::create_directories(dir);
  if (!WriteFlac(dir / "song.flac")) return false;
  std::string chart = "#BPM 120\r\n";
  for (int slot = 0; slot < kSlots; ++slot) chart += "#WAV" + Hex2(slot) + " song.flac\r\n";
  chart += "#00111:01\r\n";
  return WriteText(dir / "shared.bms", chart);
}

// Tempo 1: a unit lasts 1250 ms. Measures 0-8 are 1000 standard measures
// long; the last note lies at 1,590,000 units, 23 days in.
bool WriteLong(const fs::path& dir) {
  fs::create_directories(dir);
  SF_INFO info{};
  info.samplerate = kRate;
  info.channels = 1;
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  SNDFILE* file = sf_open((dir / "click.wav").c_str(), SFM_WRITE, &info);
  if (file == nullptr) return false;
  std::vector<float> click(kRate / 100, 0.5f);
  sf_writef_float(file, click.data(), static_cast<sf_count_t>(click.size()));
  sf_close(file);
  std::string chart = "#BPM 1\r\n#WAV01 click.wav\r\n#00001:01\r\n";
  for (int measure = 0; measure <= 8; ++measure) chart += "#00" + std::to_string(measure) + "02:1000\r\n";
  std::string notes(32 * 2, '0');
  notes.replace(9 * 2, 2, "01");  // tick 9 x 6 = 54 of the last measure
  chart += "#00811:" + notes + "\r\n";
  return WriteText(dir / "long.bms", chart);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s OUTDIR\n", argv[0]);
    return 2;
  }
  const fs::path dir = argv[1];
  if (!WriteMissing(dir / "missing") || !WriteShared(dir / "shared") || !WriteLong(dir / "long")) {
    std::fprintf(stderr, "make_stress: cannot write into %s\n", argv[1]);
    return 1;
  }
  return 0;
}
