// make_keysounds OUTDIR [COUNT] [SECONDS] [wav|ogg]: writes COUNT keysounds
// (default 1,000 one-second OGG Vorbis tones, each its own pitch) and
// keysounds.bms, which names them in base-36 slots 01, 02, ... and plays each
// once, four to a measure. The chart needs the modern reading for more than
// 255 sounds:
//   vremo --info --media --option ModernReading=True OUTDIR/keysounds.bms
// measures a load (add --option LoadThreads=1 for one decoding thread).
// Nothing here is part of the player.

#include <sndfile.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int kDefaultCount = 1000;
constexpr double kDefaultSeconds = 1.0;
constexpr int kRate = 44100;
constexpr int kChannels = 2;
constexpr int kMaxSlots = 36 * 36 - 1;  // "01" to "ZZ"
constexpr int kNotesPerMeasure = 4;
constexpr double kBaseHz = 220.0;
constexpr double kAmplitude = 0.3;
constexpr const char* kDigits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

std::string Base36(int value) { return {kDigits[value / 36], kDigits[value % 36]}; }

bool WriteTone(const fs::path& path, int index, double seconds, bool ogg) {
  SF_INFO info{};
  info.samplerate = kRate;
  info.channels = kChannels;
  info.format = ogg ? (SF_FORMAT_OGG | SF_FORMAT_VORBIS) : (SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (file == nullptr) return false;
  const auto frames = static_cast<sf_count_t>(seconds * kRate);
  const double hz = kBaseHz * std::pow(2.0, (index % 48) / 12.0);
  std::vector<float> samples(static_cast<size_t>(frames) * kChannels);
  for (sf_count_t i = 0; i < frames; ++i) {
    const double fade = 1.0 - static_cast<double>(i) / static_cast<double>(frames);
    const auto value = static_cast<float>(kAmplitude * fade * std::sin(2.0 * M_PI * hz * i / kRate));
    samples[static_cast<size_t>(i) * kChannels] = value;
    samples[static_cast<size_t>(i) * kChannels + 1] = value;
  }
  const bool written = sf_writef_float(file, samples.data(), frames) == frames;
  sf_close(file);
  return written;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: make_keysounds OUTDIR [COUNT] [SECONDS] [wav|ogg]\n");
    return 64;
  }
  const fs::path out = argv[1];
  const int count = argc > 2 ? std::atoi(argv[2]) : kDefaultCount;
  const double seconds = argc > 3 ? std::atof(argv[3]) : kDefaultSeconds;
  const bool ogg = argc <= 4 || std::string(argv[4]) != "wav";
  if (count < 1 || count > kMaxSlots || seconds <= 0.0) {
    std::fprintf(stderr, "make_keysounds: COUNT 1-%d, SECONDS above 0\n", kMaxSlots);
    return 64;
  }
  fs::create_directories(out);
  std::ofstream chart(out / "keysounds.bms", std::ios::binary);
  chart << "#TITLE keysounds\r\n#BPM 120\r\n";
  for (int i = 1; i <= count; ++i) {
    const std::string name = "k" + std::to_string(i) + (ogg ? ".ogg" : ".wav");
    if (!WriteTone(out / name, i, seconds, ogg)) {
      std::fprintf(stderr, "make_keysounds: cannot write %s\n", (out / name).c_str());
      return 1;
    }
    chart << "#WAV" << Base36(i) << ' ' << name << "\r\n";
  }
  for (int first = 1, measure = 1; first <= count; first += kNotesPerMeasure, ++measure) {
    char prefix[16];
    std::snprintf(prefix, sizeof prefix, "#%03d11:", measure);
    chart << prefix;
    for (int i = first; i < first + kNotesPerMeasure; ++i) chart << (i <= count ? Base36(i) : "00");
    chart << "\r\n";
  }
  return chart.good() ? 0 : 1;
}
