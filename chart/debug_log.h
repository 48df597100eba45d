#pragma once
// The debug log, the file check and the caption: the user's view of what the
// program is doing and of every error it skipped.
//
// One DebugLog object serves the whole program. It appends lines to a sink:
// the main window shows them in its status box, headless commands print them
// to standard output. UI thread only.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vremo {

inline constexpr std::string_view kCaptionPrefix = "Vremo v0.26 release";

// Where log lines and captions go. All methods are called on the UI thread.
class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void AppendLine(std::string_view line) = 0;
  // Replaces the whole log with the given text (for example blank lines).
  virtual void ReplaceText(std::string_view text) = 0;
  // The full window caption, and the bare text for the tray icon and menu.
  virtual void CaptionChanged(std::string_view caption, std::string_view text) = 0;
};

class DebugLog {
 public:
  explicit DebugLog(LogSink* sink = nullptr) : sink_(sink) {}

  void SetSink(LogSink* sink) { sink_ = sink; }

  // Appends one line; an empty text appends "Ready.".
  void PutLog(std::string_view text);
  // True when the file can be opened for reading; otherwise logs
  // "Err[not exist] :" and the file's name (after its last separator).
  bool CheckExist(const std::string& path);
  // The caption becomes "Vremo v0.26 release - " + text.
  void SetCaption(std::string_view text);
  // Replaces the log's whole text, as the loader does before a load.
  void SetStatusText(std::string_view text);

  const std::string& caption() const { return caption_; }

 private:
  LogSink* sink_;
  std::string caption_;
};

// Keeps every line in memory; the status text is split into its lines.
class MemoryLogSink : public LogSink {
 public:
  void AppendLine(std::string_view line) override;
  void ReplaceText(std::string_view text) override;
  void CaptionChanged(std::string_view caption, std::string_view text) override;

  std::vector<std::string> lines;
  std::string caption;
};

// Prints each line to a stream callback (standard output for tool modes).
class StreamLogSink : public LogSink {
 public:
  explicit StreamLogSink(std::function<void(std::string_view)> write) : write_(std::move(write)) {}
  void AppendLine(std::string_view line) override;
  void ReplaceText(std::string_view text) override;
  void CaptionChanged(std::string_view, std::string_view) override {}

 private:
  std::function<void(std::string_view)> write_;
};

}  // namespace vremo
