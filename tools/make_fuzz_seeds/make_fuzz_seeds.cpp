// make_fuzz_seeds OUT: writes a few small valid inputs for every fuzz target
// into OUT/<target>/, made by the project's own writers where it has them,
// so the fuzzers start from real file shapes. Nothing is read from outside.

#include <QGuiApplication>
#include <QImage>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <string>
#include <vector>

#include "display/wav_writer.h"
#include "play/lane_keys.h"
#include "play/play_record.h"
#include "shell/key_map_file.h"
#include "shell/play_list_file.h"
#include "shell/record_file.h"

namespace fs = std::filesystem;
using namespace vremo;

namespace {

constexpr int32_t kSeedSampleRate = 22050;
constexpr int32_t kSeedPictureSide = 16;
constexpr int32_t kSeedBmsId = 1234;

void Put(const fs::path& folder, const std::string& name, const std::string& bytes) {
  fs::create_directories(folder);
  std::ofstream(folder / name, std::ios::binary) << bytes;
}

const char* const kChart =
    "#PLAYER 1\r\n#GENRE Seed\r\n#TITLE Tiny\r\n#ARTIST vremo\r\n#BPM 140\r\n#PLAYLEVEL 3\r\n"
    "#RANK 2\r\n#TOTAL 200\r\n#WAV01 kick.wav\r\n#WAV02 snare.ogg\r\n#BMP01 back.bmp\r\n"
    "#BPM01 180.5\r\n#STOP01 96\r\n#00111:01000100\r\n#00112:0002\r\n#00116:01\r\n#00101:0201\r\n"
    "#00104:01\r\n#00102:0.75\r\n#00203:8C\r\n#00208:01\r\n#00209:01\r\n#00221:0101\r\n"
    "#00251:01000001\r\n";
const char* const kRandomChart =
    "#TITLE Branches\r\n#BPM 120\r\n#WAV01 a.wav\r\n#RANDOM 2\r\n#IF 1\r\n#00111:01\r\n#ENDIF\r\n"
    "#IF 2\r\n#00112:01\r\n#ENDIF\r\n#00211:0101\r\n";

void WriteCharts(const fs::path& out) {
  for (const char* target : {"bms_chart", "chart_header", "chart_facts"}) {
    Put(out / target, "tiny.bms", kChart);
    Put(out / target, "random.bme", kRandomChart);
  }
}

void WriteTexts(const fs::path& out) {
  Put(out / "layout", "small.vrd",
      "; seed\r\n#FILE skin.png\r\n#BGA 192,24,256,256\r\n#OBJ01 0,0,22,8\r\n#KEY11 1,45,3\r\n"
      "#KEY16 3,11,3\r\n#KEY26 3,595,3\r\n#POOR 120,16,84,14\r\n#FGREAT 220,16,84,14,4\r\n#NUM 120,80,11,14\r\n");
  Put(out / "settings", "vremo.ini",
      "[MainForm]\r\nLeft=10\r\nTop=20\r\nWidth=640\r\nHeight=480\r\nWindowState=0\r\n[Setting]\r\nSleep=5\r\n"
      "NoBGA=False\r\nUserPlay=True\r\nHiSpeed=2\r\nRealHiSpeed=1.5\r\nRect=default.vrd\r\nWndMode=1\r\n"
      "[NoteSetting]\r\nHidden=True\r\n[PlayList]\r\nLeft=5\r\n");
  Put(out / "command_line", "switches.txt", "-P -S -B \"my song.bms\" list.vrl -Q");
  Put(out / "command_line", "files.txt", "a.bms  /abs/b.bme ../c.bms");
  Put(out / "command_channel", "load.txt", "LLOAD /charts/song.bms");
  Put(out / "command_channel", "seek.txt", "LSEEK 768");
  Put(out / "command_channel", "handover.txt", "ReceiveCommand: -P \"/a b/song.bms\"");
  Put(out / "command_channel", "files.txt", "ReceiveFiles: /a.bms /b.vrl");
  Put(out / "score_import", "vremoscore.txt",
      "*BMS 470\r\n*INF Genre\tTitle\tArtist\t3\t2\t150\t4\t1\r\n*OPT 11364,1,1,0,0,0,0,0,0\r\n*VAL -3240\r\n"
      "1P - fGreat 1 Great 0 Good 1 Bad 0 Poor 2\r\n  J-Pts: -66.0pts\r\n  Pts: 62500pts\r\n  Ex-Pts: 2pts\r\n"
      "2P - fGreat 0 Great 1 Good 0 Bad 0 Poor 0\r\n  J-Pts: 13.0pts\r\n  Pts: 100000pts\r\n  Ex-Pts: 1pts\r\n"
      "----------------\r\n\r\n");
  Put(out / "key_script", "keys.txt", "# press and release\n0 down 90\n120 up 90\n500 down 83\n700 up 83\n");
}

void WriteBinaries(const fs::path& out) {
  Put(out / "key_map", kKeyMapFileName.data(), EncodeKeyMap(DefaultKeyMap()));

  ChartListInfo entry;
  entry.title = "Tiny";
  entry.artist = "vremo";
  entry.lengthMs = 65000;
  entry.path = "/charts/tiny.bms";
  Put(out / "list_file", "two.vrl", EncodeListFile({entry, entry}));

  PlayRecord record;
  record.StartRecording();
  record.Append({1, 200, 1, 11, 1, 0});
  record.Append({2, 400, 2, 16, 2, 0});
  fs::create_directories(out / "record_file");
  SaveRecord((out / "record_file" / "play.vpd").string(), record, RecordChart{kSeedBmsId, 2, 140.0f, 2});

  std::vector<float> samples(static_cast<size_t>(kSeedSampleRate / 50) * 2);
  for (size_t i = 0; i < samples.size(); ++i)
    samples[i] = 0.5f * static_cast<float>(std::sin(static_cast<double>(i / 2) * 2.0 * std::numbers::pi / 50.0));
  fs::create_directories(out / "sound");
  WriteWavFile((out / "sound" / "beep.wav").string(), samples.data(), static_cast<int64_t>(samples.size() / 2),
               kSeedSampleRate);

  QImage picture(kSeedPictureSide, kSeedPictureSide, QImage::Format_RGB32);
  picture.fill(Qt::darkCyan);
  picture.setPixel(1, 2, qRgb(255, 0, 0));
  fs::create_directories(out / "picture");
  for (const char* format : {"png", "bmp", "jpg"})
    picture.save(QString::fromStdString((out / "picture" / ("back." + std::string(format))).string()), format);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_fuzz_seeds OUT\n");
    return 64;
  }
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  QGuiApplication app(argc, argv);
  const fs::path out = argv[1];
  WriteCharts(out);
  WriteTexts(out);
  WriteBinaries(out);
  return 0;
}
