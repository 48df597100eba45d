#include "shell/tool_modes.h"

#include <gtest/gtest.h>

#include <QImage>
#include <sstream>

#include "chart/control_flow.h"
#include "display/wav_writer.h"
#include "shell/chart_modes.h"
#include "tests/chart/chart_fixture.h"

namespace vremo {
namespace {

using testing::Crlf;
using testing::TempFolder;

struct ToolRun {
  int status;
  std::string out;
  std::string err;
};

ToolRun RunTool(const std::vector<std::string>& args) {
  std::ostringstream out;
  std::ostringstream err;
  const auto status = RunToolMode(args, out, err);
  return {status.value_or(-1), out.str(), err.str()};
}

class ToolModes : public ::testing::Test {
 protected:
  std::string Chart(const std::string& name, const std::vector<std::string>& lines) {
    return folder.Write(name, Crlf(lines));
  }
  TempFolder folder;
};

TEST_F(ToolModes, InfoPrintsTheLoadLogAndTheSongLines) {
  const std::string path = Chart("a.bms", {"#GENRE Test", "#TITLE Tiny", "#ARTIST Us", "#BPM 150", "#PLAYLEVEL 2",
                                           "#RANK 3", "#00111:0101", "#00121:01"});
  const ToolRun run = RunTool({"--info", path});
  EXPECT_EQ(run.status, kExitLoaded);
  EXPECT_EQ(run.out,
            "\n\n\n\n\n\nBMS load --------\n  file exist...\n  loading bms...\n  compiling bms & file loading...\n"
            "  VRAM free: 0bytes\n  adding separator...\n  sorting objects...\n  recaliculating objects position...\n"
            "BMSLoad complete.\nBMSInfo --------\n* BMS-ID: 609\n* 5objects, 1measures\n* TotalNotes 1:2 2:1\n"
            "* length 2400ms, 288pixels\n* genre:Test\n* title:Tiny\n* artist:Us\n* player:0\n"
            "* playlevel:2, rank:3\n* bpm:150\n----------------\n");
}

TEST_F(ToolModes, SeveralChartsLoadIntoOneChartAndTheLastDecides) {
  const std::string first = Chart("a.bms", {"#GENRE Kept", "#TITLE A", "#BPM 120", "#00011:01"});
  const std::string second = Chart("b.bms", {"#TITLE B", "#00011:0101"});
  const ToolRun run = RunTool({"--info", first, second});
  EXPECT_EQ(run.status, kExitLoaded);
  EXPECT_NE(run.out.find("* genre:Kept\n* title:B\n"), std::string::npos);
  EXPECT_EQ(run.out.find("* title:A"), std::string::npos);

  const ToolRun failed = RunTool({"--info", first, Chart("c.bms", {"#TITLE C"})});
  EXPECT_EQ(failed.status, kExitNoObject);
  EXPECT_NE(failed.out.find("  Err: object not exists.\nBMS load error\n"), std::string::npos);

  const ToolRun missing = RunTool({"--info", first, folder.path().string() + "/none.bms"});
  EXPECT_EQ(missing.status, kExitMissing);
  EXPECT_EQ(missing.out, "Err[not exist] :none.bms\nBMS load error\n");
}

// The output with the closing " in N ms" of the load line made " in T ms".
std::string WithoutLoadTime(const std::string& out) {
  const size_t in = out.rfind(" in ");
  const bool timed = in != std::string::npos && out.ends_with(" ms\n") &&
                     out.find_first_not_of("0123456789", in + 4) == out.size() - 4 && out.size() - 4 > in + 4;
  return timed ? out.substr(0, in) + " in T ms\n" : out;
}

TEST_F(ToolModes, InfoWithMediaDecodesTheSoundsAndPicturesAndCountsThem) {
  const std::vector<float> samples(2 * 4410, 0.25f);
  ASSERT_TRUE(WriteWavFile(folder.Path("a.wav"), samples.data(), 4410, 44100));
  QImage picture(8, 4, QImage::Format_RGB32);
  picture.fill(Qt::red);
  ASSERT_TRUE(picture.save(QString::fromStdString(folder.Path("p.png"))));
  // One file named by two slots, a missing one, a picture.
  const std::string path = Chart("m.bms", {"#TITLE media", "#WAV01 a.wav", "#WAV02 A.WAV", "#WAV03 gone.wav",
                                           "#BMP01 p.png", "#00111:010203", "#00104:01"});
  // --media may stand before or after the options.
  for (const char* threads : {"LoadThreads=1", "LoadThreads=0"}) {
    const ToolRun run = threads[11] == '1' ? RunTool({"--info", "--media", "--option", threads, path})
                                           : RunTool({"--info", "--option", threads, "--media", path});
    EXPECT_EQ(run.status, kExitLoaded);
    EXPECT_EQ(WithoutLoadTime(run.out),
              "\n\n\n\n\n\nBMS load --------\n  file exist...\n  loading bms...\n  compiling bms & file loading...\n"
              "  VRAM free: 536870912bytes\n  adding separator...\n  sorting objects...\n"
              "  recaliculating objects position...\nBMSLoad complete.\nBMSInfo --------\n* BMS-ID: 3\n"
              "* 6objects, 1measures\n* TotalNotes 1:3 2:0\n* length 0ms, 320pixels\n* genre:\n* title:media\n"
              "* artist:\n* player:0\n* playlevel:0, rank:0\n* bpm:0\n----------------\n"
              "loaded 2 sounds, 1 pictures in T ms\n")
        << threads;
  }
  // Without --media nothing is decoded; a missing chart is still told.
  EXPECT_NE(RunTool({"--info", path}).out.find("  VRAM free: 0bytes\n"), std::string::npos);
  const ToolRun missing = RunTool({"--info", "--media", folder.Path("none.bms")});
  EXPECT_EQ(missing.status, kExitMissing);
  EXPECT_EQ(WithoutLoadTime(missing.out),
            "Err[not exist] :none.bms\nBMS load error\nloaded 0 sounds, 0 pictures in T ms\n");
}

TEST_F(ToolModes, DumpDescribesTheCompiledChart) {
  const std::string path =
      Chart("d.bms", {"#GENRE G", "#TITLE \"Q\"", "#ARTIST A", "#BPM 120", "#PLAYLEVEL 1", "#RANK 2", "#TOTAL 0",
                      "#WAV0a kick.wav", "#BMPFF bg.png", "#00011:0A", "#00103:B4"});
  const ToolRun run = RunTool({"--dump", path});
  EXPECT_EQ(run.status, kExitLoaded);
  const std::string expected =
      "{\"path\":\"" + path +
      "\",\"title\":\"\\\"Q\\\"\",\"artist\":\"A\",\"genre\":\"G\",\"bpm\":120,\"player\":0,"
      "\"playLevel\":1,\"rank\":2,\"total\":200,\"volWav\":0,\"midiFile\":\"\",\"maxMeasure\":1,"
      "\"objectCount\":4,\"totalNotes\":[1,0],\"sideUsed\":[true,false],\"sidePlayer\":[0,1],"
      "\"lengthMs\":2000,\"bmsId\":362,\"marquee\":\" * \\\"G\\\" \\\"Q\\\" / A\","
      "\"gaugePerNote\":[200,\"inf\"],\"pointsPerNote\":[100000,\"inf\"],\"effectiveBpm\":120,"
      "\"unitsPerMs\":0.096,\"objects\":[[0,0,0,-1,0],[0,0,0,11,10],[1,192,0,-1,0],[1,192,0,3,180]],"
      "\"keySoundChanges\":[[11,0,10]],\"wav\":{\"0A\":\"kick.wav\"},\"bmp\":{\"FF\":\"bg.png\"}}\n";
  EXPECT_EQ(run.out, expected);
}

TEST_F(ToolModes, UsageHelpAndVersion) {
  EXPECT_EQ(RunTool({"--info"}).status, kExitUsage);
  // The executable's own chart modes take plain chart loads only and print as the full program does.
  const std::string path = Chart("a.bms", {"#TITLE T", "#00111:01"});
  std::ostringstream out;
  std::ostringstream err;
  EXPECT_EQ(RunChartMode({"--dump", "--option", "ModernReading=True", "--seed", "1", path}, out, err), kExitLoaded);
  EXPECT_EQ(out.str(), RunTool({"--dump", "--option", "ModernReading=True", "--seed", "1", path}).out);
  EXPECT_EQ(RunChartMode({"--info"}, out, err), kExitUsage);
  EXPECT_FALSE(RunChartMode({"--info", "--media", path}, out, err));
  EXPECT_FALSE(RunChartMode({"--version"}, out, err));
  EXPECT_EQ(RunTool({"--version"}).out, "Vremo v0.26 release\n");
  EXPECT_NE(RunTool({"--help"}).out.find("--dump CHART..."), std::string::npos);
  EXPECT_FALSE(RunToolMode({"song.bms"}, std::cout, std::cerr));
  EXPECT_FALSE(RunToolMode({}, std::cout, std::cerr));
}

TEST_F(ToolModes, SnapshotSizesStopWhereTheSurfacesDo) {
  const std::string chart = Chart("a.bms", {"#BPM 120", "#00111:01"});
  const std::string png = (folder.path() / "a.png").string();
  const std::string refusal =
      "vremo: the snapshot size must be 1 to 8192 pixels each way and at most 33554432 pixels in all (8192x4096)\n";
  for (const char* size : {"8192x8192", "4097x8192", "8193x1"}) {
    const ToolRun run = RunTool({"--snapshot", png, "--size", size, chart});
    EXPECT_EQ(run.status, kExitUsage) << size;
    EXPECT_EQ(run.err, refusal) << size;
  }
  EXPECT_FALSE(std::filesystem::exists(png));
  const ToolRun wide = RunTool({"--snapshot", png, "--size", "8192x1024", chart});
  EXPECT_EQ(wide.status, kExitLoaded) << wide.err;
  EXPECT_TRUE(std::filesystem::exists(png));
}

TEST_F(ToolModes, TimelineAndTheModernReadingInEveryLoadingMode) {
  // LF line ends, a random block and a stop: only the modern reading sees
  // the objects.
  const std::string lf = folder.Write("lf.bms",
                                      "#BPM 120\n#STOP01 96\n#RANDOM 2\n#IF 1\n#00111:01\n#ENDIF\n#IF 2\n"
                                      "#00112:01\n#ENDIF\n#ENDRANDOM\n#00109:01\n#00201:0G\n#001D1:05");
  const ToolRun classic = RunTool({"--timeline", lf});
  EXPECT_EQ(classic.status, kExitNoObject);
  EXPECT_EQ(classic.err, "vremo: the chart holds no object: " + lf + "\n");
  const int32_t drawn = ChartRandom(7).Draw(2);
  const std::string lane = drawn == 1 ? "11" : "12";
  const ToolRun modern = RunTool({"--timeline", "--option", "ModernReading=True", "--seed", "7", lf});
  EXPECT_EQ(modern.status, kExitLoaded) << modern.err;
  EXPECT_EQ(modern.out, "2000.000\t" + lane + "\t01\n2000.000\tD1\t05\n5000.000\t01\t0G\n");
  EXPECT_EQ(RunTool({"--timeline", "--seed", "7", "--option", "ModernReading=True", lf}).out, modern.out);

  const ToolRun info = RunTool({"--info", "--option", "ModernReading=True", "--seed", "7", lf});
  EXPECT_EQ(info.status, kExitLoaded);
  EXPECT_NE(info.out.find("  VRAM free: 0bytes\n  #RANDOM 2 -> " + std::to_string(drawn) + "\n  adding separator...\n"),
            std::string::npos);
  EXPECT_NE(info.out.find("* TotalNotes 1:1 2:0\n* length 5000ms, 384pixels\n"), std::string::npos);
  const std::string wav = (folder.path() / "lf.wav").string();
  EXPECT_EQ(RunTool({"--render", wav, "--option", "ModernReading=True", "--seed", "7", lf}).status, kExitLoaded);
  const std::string png = (folder.path() / "lf.png").string();
  EXPECT_EQ(RunTool({"--snapshot", png, "--option", "ModernReading=True", "--seed", "7", lf}).status, kExitLoaded);

  // The classic timeline: tempos from channel 3, values as hexadecimal.
  const std::string crlf = Chart("c.bms", {"#BPM 120.4", "#00111:0A00FF00", "#00203:B4", "#00211:01", "#00311:01"});
  EXPECT_EQ(RunTool({"--timeline", crlf}).out,
            "2000.000\t11\t0A\n3000.000\t11\tFF\n4000.000\t03\tB4\n4000.000\t11\t01\n5333.333\t11\t01\n");

  EXPECT_EQ(RunTool({"--timeline"}).status, kExitUsage);
  EXPECT_EQ(RunTool({"--timeline", "--seed", "x", lf}).err, "vremo: bad value for --seed: x\n");
  EXPECT_EQ(RunTool({"--info", "--option", "NoSuch=1", lf}).status, kExitUsage);
  EXPECT_EQ(RunTool({"--render", wav, "--seed", "-1", lf}).status, kExitUsage);
  const ToolRun missing = RunTool({"--timeline", folder.path().string() + "/none.bms"});
  EXPECT_EQ(missing.status, kExitMissing);
  EXPECT_EQ(missing.err, "vremo: no such chart: " + folder.path().string() + "/none.bms\n");
  EXPECT_NE(RunTool({"--help"}).out.find("--timeline [--option NAME=VALUE]... [--seed N] CHART"), std::string::npos);
}

}  // namespace
}  // namespace vremo
