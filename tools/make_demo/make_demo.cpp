// make_demo OUTDIR: writes the bundled demo song (demo.bms, its sounds and
// pictures) into OUTDIR. The output is the same byte for byte on every run.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include "tools/make_demo/song.h"
#include "tools/make_demo/synth.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s OUTDIR\n", argv[0]);
    return 2;
  }
  const std::filesystem::path dir = argv[1];
  try {
    std::filesystem::create_directories(dir);
    const demo::DemoSong song = demo::compose();

    for (const demo::SoundFile& sound : song.sounds) {
      if (!demo::write_wav((dir / sound.name).string(), sound.make())) {
        std::fprintf(stderr, "make_demo: cannot write %s\n", sound.name.c_str());
        return 1;
      }
    }
    for (const demo::PictureFile& picture : song.pictures) {
      // Quality 0 asks for the strongest PNG compression.
      if (!picture.make().save(QString::fromStdString((dir / picture.name).string()), "PNG", 0)) {
        std::fprintf(stderr, "make_demo: cannot write %s\n", picture.name.c_str());
        return 1;
      }
    }
    std::ofstream chart(dir / "demo.bms", std::ios::binary | std::ios::trunc);
    chart << song.chart;
    if (!chart) {
      std::fprintf(stderr, "make_demo: cannot write demo.bms\n");
      return 1;
    }

    std::string tempos;
    for (int bpm : song.tempos) tempos += (tempos.empty() ? "" : " -> ") + std::to_string(bpm);
    std::printf("demo.bms: %d measures, %d notes, %d objects, BPM %s, %.1f s\n", song.measures, song.notes,
                song.objects, tempos.c_str(), song.seconds);
    std::printf("%zu sounds, %zu pictures written to %s\n", song.sounds.size(), song.pictures.size(),
                dir.string().c_str());
  } catch (const std::exception& e) {
    std::fprintf(stderr, "make_demo: %s\n", e.what());
    return 1;
  }
  return 0;
}
