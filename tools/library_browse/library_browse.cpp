// library_browse times the library window on a generated library: it writes
// FOLDERS song folders of CHARTS charts each (titles, artists and genres drawn
// from small word lists), scans them into a fresh library.db, opens the
// window offscreen and types a search one key at a time, flat and grouped by
// folder. It prints the time to open the window and each keystroke's time
// (from the key to the rows painted), median and worst.
//
//   QT_QPA_PLATFORM=offscreen library_browse WORK_FOLDER [FOLDERS [CHARTS]]
#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QTest>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "chart/debug_log.h"
#include "library/library_db.h"
#include "library/library_scan.h"
#include "shell/library_window.h"

namespace {

constexpr int kDefaultFolders = 2000;
constexpr int kDefaultCharts = 10;
const char* const kWords[] = {"Star", "Night", "Blue", "Fire", "Dream", "Rain", "Light", "Heart", "Storm", "Sky"};
const char* const kGenres[] = {"Trance", "Techno", "Drum and Bass", "Pop", "Hardcore", "Ambient", "House"};
constexpr int kWordCount = static_cast<int>(std::size(kWords));
constexpr int kGenreCount = static_cast<int>(std::size(kGenres));

void WriteLibrary(const std::filesystem::path& root, int folders, int charts) {
  for (int f = 0; f < folders; ++f) {
    const std::filesystem::path folder = root / ("song" + std::to_string(f));
    std::filesystem::create_directories(folder);
    const std::string title =
        std::string(kWords[f % kWordCount]) + " " + kWords[(f / kWordCount) % kWordCount] + " " + std::to_string(f);
    for (int c = 0; c < charts; ++c) {
      std::ofstream out(folder / ("chart" + std::to_string(c) + ".bms"), std::ios::binary);
      out << "#PLAYER 1\r\n#TITLE " << title << " [" << c << "]\r\n#ARTIST Artist " << (f % 97) << "\r\n#GENRE "
          << kGenres[f % kGenreCount] << "\r\n#BPM " << (100 + f % 100) << "\r\n#PLAYLEVEL " << (1 + c) << "\r\n"
          << "#00111:01010101\r\n#00112:00010001\r\n#00" << (c % 2 == 0 ? "116" : "118") << ":01000100\r\n";
    }
  }
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.empty() ? 0 : values[values.size() / 2];
}

void TypeAndReport(vremo::LibraryWindow& window, const char* label) {
  auto* search = window.findChild<QLineEdit*>("txtLibrarySearch");
  search->clear();
  std::vector<double> times;
  QElapsedTimer timer;
  for (const char key : std::string("star night 1")) {
    timer.start();
    QTest::keyClick(search, key);
    // The rows laid out and painted, as the user sees them.
    QCoreApplication::processEvents();
    window.repaint();
    times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
  }
  std::printf("%s: typing \"star night 1\" -> %zu charts; per key median %.2f ms, worst %.2f ms\n", label,
              window.ShownPaths().size(), Median(times), *std::max_element(times.begin(), times.end()));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: library_browse WORK_FOLDER [FOLDERS [CHARTS]]\n");
    return 2;
  }
  QApplication app(argc, argv);
  const std::filesystem::path work = argv[1];
  const int folders = argc > 2 ? std::atoi(argv[2]) : kDefaultFolders;
  const int charts = argc > 3 ? std::atoi(argv[3]) : kDefaultCharts;
  const std::string dbPath = (work / "library.db").string();
  if (!std::filesystem::exists(work / "songs")) WriteLibrary(work / "songs", folders, charts);
  {
    std::string message;
    auto db = vremo::LibraryDb::Open(dbPath, &message);
    if (db == nullptr) {
      std::fprintf(stderr, "%s\n", message.c_str());
      return 1;
    }
    db->AddRoot((work / "songs").string());
    QElapsedTimer timer;
    timer.start();
    const vremo::ScanReport report = vremo::ScanLibrary(*db, {}, {}, nullptr);
    std::printf("scan: %lld added, %lld unchanged in %.2f s\n", static_cast<long long>(report.added),
                static_cast<long long>(report.unchanged), static_cast<double>(timer.elapsed()) / 1000);
  }
  vremo::DebugLog log;
  vremo::LibraryWindow window({}, log, work.string(), dbPath, nullptr);
  QElapsedTimer timer;
  timer.start();
  window.show();
  std::printf("window shown with %zu charts in %.1f ms\n", window.ShownPaths().size(),
              static_cast<double>(timer.nsecsElapsed()) / 1e6);
  TypeAndReport(window, "flat");
  window.findChild<QCheckBox*>("chkLibraryGroup")->setChecked(true);
  TypeAndReport(window, "grouped");
  return 0;
}
