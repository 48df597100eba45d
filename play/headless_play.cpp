// The headless driver and its key-script reader.
#include "play/headless_play.h"

#include <algorithm>
#include <charconv>

namespace vremo {
namespace {

constexpr std::string_view kScriptForm = "MILLISECONDS down|up VK";

std::string_view TrimLine(std::string_view line) {
  auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (!line.empty() && blank(line.front())) line.remove_prefix(1);
  while (!line.empty() && blank(line.back())) line.remove_suffix(1);
  return line;
}

std::vector<std::string_view> Words(std::string_view line) {
  std::vector<std::string_view> words;
  size_t pos = 0;
  while (pos < line.size()) {
    while (pos < line.size() && (line[pos] == ' ' || line[pos] == '\t')) ++pos;
    const size_t start = pos;
    while (pos < line.size() && line[pos] != ' ' && line[pos] != '\t') ++pos;
    if (pos > start) words.push_back(line.substr(start, pos - start));
  }
  return words;
}

std::optional<int32_t> WholeNumber(std::string_view word) {
  int32_t value = 0;
  const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
  if (result.ec != std::errc() || result.ptr != word.data() + word.size()) return std::nullopt;
  return value;
}

// One script line into an event; the error text otherwise.
std::optional<KeyEvent> ParseEventLine(std::string_view line, std::string& error) {
  const std::vector<std::string_view> words = Words(line);
  if (words.size() != 3) {
    error = "expected \"" + std::string(kScriptForm) + "\", found \"" + std::string(line) + "\"";
    return std::nullopt;
  }
  KeyEvent event;
  const auto time = WholeNumber(words[0]);
  if (!time || *time < 0) {
    error = "\"" + std::string(words[0]) + "\" is not a time in milliseconds";
    return std::nullopt;
  }
  event.timeMs = *time;
  if (words[1] == "down" || words[1] == "up") {
    event.down = words[1] == "down";
  } else {
    error = "\"" + std::string(words[1]) + "\" is neither down nor up";
    return std::nullopt;
  }
  const auto key = WholeNumber(words[2]);
  if (!key || *key < 0 || *key >= kKeyCodeCount) {
    error = "\"" + std::string(words[2]) + "\" is not a virtual-key code 0-255";
    return std::nullopt;
  }
  event.keyCode = *key;
  return event;
}

}  // namespace

std::optional<std::vector<KeyEvent>> ParseKeyScript(std::string_view text, std::string& error) {
  std::vector<KeyEvent> events;
  int lineNumber = 0;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    const std::string_view raw = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    ++lineNumber;
    const std::string_view line = TrimLine(raw);
    if (line.empty() || line.front() == '#') continue;
    std::string reason;
    const auto event = ParseEventLine(line, reason);
    if (!event) {
      error = "line " + std::to_string(lineNumber) + ": " + reason;
      return std::nullopt;
    }
    events.push_back(*event);
  }
  std::stable_sort(events.begin(), events.end(),
                   [](const KeyEvent& a, const KeyEvent& b) { return a.timeMs < b.timeMs; });
  return events;
}

HeadlessPlay::HeadlessPlay(Chart& chart, Settings& settings, SoundBank& sounds, const KeyMap& keyMap, DebugLog& log,
                           VirtualClock& clock, HeadlessOptions options)
    : settings_(settings),
      clock_(clock),
      log_(log),
      options_(std::move(options)),
      engine_(chart, settings, sounds, clock, log, *this),
      keys_(engine_, keyMap) {
  engine_.SetFrameDrawer(this);
  engine_.SetScoreLogFolder(options_.scoreLogFolder);
}

int64_t HeadlessPlay::TimeLimitMs() const {
  if (options_.timeLimitMs > 0) return options_.timeLimitMs;
  const double speed = settings_.realHiSpeed > 0.0f ? settings_.realHiSpeed : 1.0;
  const double songMs = std::max(engine_.chart().lengthMs, 0) / speed;
  return static_cast<int64_t>(std::min(songMs, 1e15)) + kHeadlessTimeMarginMs;
}

HeadlessResult HeadlessPlay::Run(const std::vector<KeyEvent>& events) {
  events_ = &events;
  nextEvent_ = 0;
  startTick_ = clock_.TickCount();
  timeLimitMs_ = TimeLimitMs();
  HeadlessResult result;
  int32_t target = options_.startPosition;
  engine_.SetPlayPosition(target, true);
  engine_.StartPlay();
  while (engine_.PlayPass()) ++result.passes;
  ++result.passes;
  result.stopped = engine_.state().stopRequested;
  result.elapsedMs = TicksBetween(clock_.TickCount(), startTick_);
  result.lastSongInfo = lastSongInfo_;
  events_ = nullptr;
  return result;
}

void HeadlessPlay::ProcessMessages() {
  const int32_t now = clock_.TickCount();
  const int64_t sinceStart = TicksBetween(now, startTick_);
  // Input first: the desktop delivers timer ticks only when nothing else waits.
  while (events_ != nullptr && nextEvent_ < events_->size() && (*events_)[nextEvent_].timeMs <= sinceStart) {
    const KeyEvent& event = (*events_)[nextEvent_++];
    const double keyTick = static_cast<double>(startTick_) + event.timeMs;
    if (event.down) {
      keys_.KeyDown(event.keyCode, keyTick);
    } else {
      keys_.KeyUp(event.keyCode, keyTick);
    }
  }
  if (engine_.PlayTimerActive() && TicksBetween(now, lastTimerTick_) >= kPlayTimerPeriodMs) {
    lastTimerTick_ = now;
    engine_.PlayTimerProc();
  }
  if (sinceStart > timeLimitMs_ && !engine_.state().stopRequested) {
    log_.PutLog("  Err: play time limit reached, stopped.");
    engine_.RequestStop();
  }
}

void HeadlessPlay::Sleep(int32_t ms) {
  clock_.Advance(std::max(ms, kMinimumSleepMs));
  if (options_.afterSleep) options_.afterSleep(clock_.TickCount());
}

void HeadlessPlay::DrawFrame(int32_t nextObjectIndex) {
  if (options_.judgeInDriver) engine_.RunJudgeBookkeeping(nextObjectIndex, options_.drawHeight);
  if (options_.drawer != nullptr) options_.drawer->DrawFrame(nextObjectIndex);
}

void HeadlessPlay::DrawSoundOverview(const SoundOverview& overview) {
  if (options_.drawer != nullptr) options_.drawer->DrawSoundOverview(overview);
}

}  // namespace vremo
