// load_test: the player under load, in one process with its real windows
// (offscreen), command channel and play list. It prints figures and asserts
// nothing; they go into notes, not into timed tests.
//   load_test [--seconds S] [--clients N] [--rate R] [--charts C]
//             [--no-flood] [--no-limits] CHART
// 1. flood: CHART plays while N partners send "LPAUS" on the channel, R a
//    second in all, for S seconds; every second the frame rate (from the
//    status line), the memory, the replies and the longest reply wait; then
//    the same figures while the play goes on without the flood.
// 2. limits: charts at each capacity limit and far past them load and play
//    for two seconds: load time, frame rate, memory.
// 3. list: a folder of C charts dropped on the window: how long the event
//    loop is blocked, and the saved list at the end.
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "shell/command_channel.h"
#include "shell/instance_lock.h"
#include "shell/main_window.h"
#include "shell/play_list_window.h"
#include "shell/player_commands.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
constexpr qint64 kGiveUpMs = 60000;

struct Options {
  int seconds = 30;
  int clients = 20;
  int rate = 1000;
  int charts = 10000;
  bool flood = true, limits = true;
  std::string chart;
};

long RssKiB() {
  std::ifstream status("/proc/self/status");
  std::string key;
  while (status >> key) {
    if (key == "VmRSS:") {
      long kib = 0;
      status >> kib;
      return kib;
    }
  }
  return -1;
}

void Write(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

// One partner: sends "LPAUS" at its share of the rate, matches each "POK".
struct Partner {
  std::atomic<long> sent{0}, answered{0}, worstWaitUs{0};
  void Run(const std::string& socketPath, int perSecond, int seconds) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", socketPath.c_str());
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return;
    std::deque<Clock::time_point> waiting;
    std::string received;
    const auto start = Clock::now();
    const auto end = start + std::chrono::seconds(seconds);
    const auto interval = std::chrono::microseconds(1000000 / perSecond);
    auto next = start;
    while (Clock::now() < end + std::chrono::seconds(2) && (Clock::now() < end || !waiting.empty())) {
      if (Clock::now() >= next && Clock::now() < end) {
        if (::send(fd, "LPAUS\n", 6, MSG_NOSIGNAL) != 6) break;
        waiting.push_back(Clock::now());
        ++sent;
        next += interval;
      }
      pollfd one{fd, POLLIN, 0};
      const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(next - Clock::now()).count();
      if (::poll(&one, 1, static_cast<int>(std::clamp<long>(wait, 0, 5))) <= 0) continue;
      char buffer[4096];
      const ssize_t n = ::read(fd, buffer, sizeof buffer);
      if (n <= 0) break;
      received.append(buffer, static_cast<size_t>(n));
      size_t line;
      while ((line = received.find('\n')) != std::string::npos) {
        if (received.compare(0, line, "POK") == 0 && !waiting.empty()) {
          const auto us = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - waiting.front()).count();
          worstWaitUs = std::max<long>(worstWaitUs, us);
          waiting.pop_front();
          ++answered;
        }
        received.erase(0, line + 1);
      }
    }
    ::close(fd);
  }
};

class LoadTest {
 public:
  LoadTest(const Options& options, const fs::path& home)
      : options_(options), home_(home), window_(home.string()), commands_(window_, home.string()) {
    window_.StartUp();
    lock_ = std::make_unique<vremo::InstanceLock>(vremo::RuntimeFolder(), (home / "temp.dat").string());
    lock_->Acquire();
    commands_.Start(*lock_, {});
    channel_ = vremo::ReadHandOverFile((home / "temp.dat").string());
    // The longest stretch the event loop did not come round.
    QObject::connect(&tick_, &QTimer::timeout, [this] {
      if (sinceTick_.isValid()) worstGapMs_ = std::max<qint64>(worstGapMs_, sinceTick_.elapsed());
      sinceTick_.restart();
    });
    tick_.start(10);
  }

  void Flood() {
    std::printf("== flood: %d partners, %d commands/s for %d s, playing %s\n", options_.clients, options_.rate,
                options_.seconds, options_.chart.c_str());
    std::vector<Partner> partners(static_cast<size_t>(options_.clients));
    std::vector<std::thread> threads;
    Play(options_.chart);
    for (Partner& partner : partners) {
      threads.emplace_back(
          [&partner, this] { partner.Run(channel_, options_.rate / options_.clients, options_.seconds); });
    }
    const auto start = Clock::now();
    QTimer report;
    QObject::connect(&report, &QTimer::timeout, [&] {
      long sent = 0, answered = 0, worst = 0;
      for (const Partner& p : partners) {
        sent += p.sent;
        answered += p.answered;
        worst = std::max<long>(worst, p.worstWaitUs);
      }
      const double t = std::chrono::duration<double>(Clock::now() - start).count();
      std::printf("  t=%5.1fs %s rss=%ldKiB sent=%ld answered=%ld worstReply=%.1fms loopGap=%lldms\n", t,
                  StatusFps().c_str(), RssKiB(), sent, answered, worst / 1000.0, static_cast<long long>(worstGapMs_));
      worstGapMs_ = 0;
    });
    report.start(1000);
    QTimer::singleShot((options_.seconds + 10) * 1000, [this] { window_.RequestStop(); });
    Pump([this] { return Played(1); });
    for (std::thread& thread : threads) thread.join();
    std::printf("  after: rss=%ldKiB\n", RssKiB());
  }

  void Limits(const fs::path& folder) {
    std::printf("== limits\n");
    const std::vector<std::pair<std::string, std::string>> charts{
        {"10,000 notes (object table full)", Notes(100, 100, 1)},
        {"measure 1024 (last measure)", "#PLAYER 1\r\n#BPM 600\r\n#WAV01 a.wav\r\n#102411:01\r\n"},
        {"5,000 key sound changes", Notes(50, 100, 5000)},
        {"200,000 notes, 1296 sounds (far past)", Notes(2000, 100, 1296)},
        {"measure 9999 (far past)", "#PLAYER 1\r\n#BPM 600\r\n#999911:01\r\n"},
    };
    int n = 0;
    for (const auto& [name, text] : charts) {
      const fs::path path = folder / ("limit" + std::to_string(n++) + ".bms");
      Write(path, text);
      QElapsedTimer load;
      load.start();
      // The play runs inside the event loop's own pumping: watch it from a timer.
      qint64 loadMs = -1;
      bool over = false;
      const qsizetype errors = Log().count("BMS load error");
      QTimer watch;
      QObject::connect(&watch, &QTimer::timeout, [&] {
        if (loadMs < 0 && window_.engine().state().running) {
          loadMs = load.elapsed();
          QTimer::singleShot(2000, [this] { window_.RequestStop(); });
        } else if (loadMs < 0 && load.elapsed() % 200 < 5 && Log().count("BMS load error") > errors) {
          over = true;
        } else if (load.elapsed() > kGiveUpMs) {
          over = true;  // the last log lines say why
          window_.RequestStop();
          std::printf("  gave up: %s\n", Log().right(300).toStdString().c_str());
        }
      });
      watch.start(5);
      Play(path.string());
      Pump([&, done = played_ + 1] { return over || Played(done); });
      std::printf("  %-40s load=%lldms %s rss=%ldKiB\n", name.c_str(), static_cast<long long>(loadMs), lastFps_.c_str(),
                  RssKiB());
    }
  }

  void List(const fs::path& folder) {
    std::printf("== list: a folder of %d charts dropped on the window\n", options_.charts);
    for (int i = 0; i < options_.charts; ++i) {
      char name[64];
      std::snprintf(name, sizeof name, "d%03d/c%05d.bms", i / 100, i);
      Write(folder / name, "#PLAYER 1\r\n#TITLE chart " + std::to_string(i) + "\r\n#ARTIST load\r\n#BPM 150\r\n" +
                               "#00111:01\r\n#00211:01\r\n");
    }
    const long rssBefore = RssKiB();
    worstGapMs_ = 0;
    QElapsedTimer blocked;
    blocked.start();
    window_.FilesDropped({folder.string()});
    const qint64 dropMs = blocked.elapsed();
    std::printf("  drop handled in %lldms (event loop blocked that long), rows=%d, rss %ld -> %ldKiB\n",
                static_cast<long long>(dropMs), commands_.playListWindow().list()->count(), rssBefore, RssKiB());
    QElapsedTimer closing;
    closing.start();
    window_.close();
    std::printf("  closing (saves default.vrl, %lld bytes) took %lldms\n",
                static_cast<long long>(fs::file_size(home_ / "default.vrl")),
                static_cast<long long>(closing.elapsed()));
  }

 private:
  static std::string Notes(int measures, int perMeasure, int sounds) {
    std::string text = "#PLAYER 1\r\n#BPM 600\r\n";
    for (int s = 1; s <= sounds && s < 1296; ++s) {
      const char* digits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
      text += std::string("#WAV") + digits[s / 36] + digits[s % 36] + " s.wav\r\n";
    }
    int value = 1;
    for (int m = 0; m < measures; ++m) {
      char head[16];
      std::snprintf(head, sizeof head, "#%03d11:", m % 1000);
      text += head;
      for (int i = 0; i < perMeasure; ++i) {
        char pair[12];
        std::snprintf(pair, sizeof pair, "%02d", 1 + (value++ % std::min(sounds, 99)));
        text += pair;
      }
      text += "\r\n";
    }
    return text;
  }
  void Play(const std::string& path) {
    window_.RequestStop();
    window_.RequestPlay(path);
  }
  QString Log() { return window_.findChild<QPlainTextEdit*>("txtStatus")->toPlainText(); }
  bool Played(int count) {
    played_ = static_cast<int>(Log().count("PlayLoop complete"));
    return played_ >= count;
  }
  std::string StatusFps() {
    const QString info = window_.findChild<QLabel*>("lblInfo")->text();
    const qsizetype end = info.indexOf("fps>");
    if (info.startsWith('<') && end > 0) lastFps_ = "fps=" + info.mid(1, end - 1).toStdString();
    return lastFps_;
  }
  void Pump(const std::function<bool()>& done) {
    QTimer fps;
    QObject::connect(&fps, &QTimer::timeout, [this] { StatusFps(); });
    fps.start(200);
    while (!done()) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  }

  Options options_;
  fs::path home_;
  vremo::MainWindow window_;
  vremo::PlayerCommands commands_;
  std::unique_ptr<vremo::InstanceLock> lock_;
  std::string channel_;
  QTimer tick_;
  QElapsedTimer sinceTick_;
  qint64 worstGapMs_ = 0;
  int played_ = 0;
  std::string lastFps_ = "fps=?";
};

}  // namespace

int main(int argc, char** argv) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);  // figures appear as they come
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    auto number = [&](int& target) { target = i + 1 < argc ? std::atoi(argv[++i]) : target; };
    if (arg == "--seconds")
      number(options.seconds);
    else if (arg == "--clients")
      number(options.clients);
    else if (arg == "--rate")
      number(options.rate);
    else if (arg == "--charts")
      number(options.charts);
    else if (arg == "--no-flood")
      options.flood = false;
    else if (arg == "--no-limits")
      options.limits = false;
    else
      options.chart = arg;
  }
  if (options.chart.empty() || options.clients <= 0 || options.rate < options.clients) {
    std::fprintf(stderr, "usage: load_test [--seconds S] [--clients N] [--rate R] [--charts C] CHART\n");
    return 64;
  }
  options.chart = fs::absolute(options.chart).string();
  // A home and a runtime folder of its own: the user's files are never touched.
  std::string pattern = (fs::temp_directory_path() / "vremo-load-XXXXXX").string();
  const fs::path root = ::mkdtemp(pattern.data());
  fs::create_directories(root / "home");
  fs::create_directories(root / "run");
  fs::permissions(root / "run", fs::perms::owner_all);
  ::setenv("VREMO_HOME", (root / "home").c_str(), 1);
  ::setenv("XDG_RUNTIME_DIR", (root / "run").c_str(), 1);
  ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
  ::setenv("SDL_AUDIODRIVER", "dummy", 0);
  QApplication app(argc, argv);
  {
    LoadTest test(options, root / "home");
    if (options.flood) test.Flood();
    if (options.limits) test.Limits(root / "limits");
    test.List(root / "list");
  }
  fs::remove_all(root);
  return 0;
}
