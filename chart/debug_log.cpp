// PutLog, CheckExist and SetCaption, and the two plain sinks.
#include "chart/debug_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

#include "chart/file_bytes.h"

namespace vremo {

void DebugLog::PutLog(std::string_view text) {
  if (sink_ == nullptr) return;
  sink_->AppendLine(text.empty() ? std::string_view("Ready.") : text);
}

bool DebugLog::CheckExist(const std::string& path) {
  std::error_code ec;
  // A folder opens for reading here but never did where charts come from.
  if (!std::filesystem::is_directory(path, ec)) {
    // Non-blocking: opening a FIFO that nobody writes to must not wait.
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd >= 0) {
      ::close(fd);
      return true;
    }
  }
  PutLog("Err[not exist] :" + FileNameOf(path));
  return false;
}

void DebugLog::SetCaption(std::string_view text) {
  caption_ = std::string(kCaptionPrefix) + " - " + std::string(text);
  if (sink_ != nullptr) sink_->CaptionChanged(caption_, text);
}

void DebugLog::SetStatusText(std::string_view text) {
  if (sink_ != nullptr) sink_->ReplaceText(text);
}

namespace {
// Splits "a\r\nb\r\n" into "a", "b"; a text without a final line end still
// gives its last line.
template <typename Fn>
void ForEachTextLine(std::string_view text, Fn fn) {
  while (!text.empty()) {
    const size_t end = text.find("\r\n");
    if (end == std::string_view::npos) {
      fn(text);
      return;
    }
    fn(text.substr(0, end));
    text.remove_prefix(end + 2);
  }
}
}  // namespace

void MemoryLogSink::AppendLine(std::string_view line) { lines.emplace_back(line); }

void MemoryLogSink::ReplaceText(std::string_view text) {
  lines.clear();
  ForEachTextLine(text, [this](std::string_view line) { lines.emplace_back(line); });
}

void MemoryLogSink::CaptionChanged(std::string_view full, std::string_view) { caption = full; }

void StreamLogSink::AppendLine(std::string_view line) {
  write_(line);
  write_("\n");
}

void StreamLogSink::ReplaceText(std::string_view text) {
  ForEachTextLine(text, [this](std::string_view line) { AppendLine(line); });
}

}  // namespace vremo
