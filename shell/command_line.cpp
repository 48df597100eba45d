// The command-line parser.
#include "shell/command_line.h"

#include <cctype>

namespace vremo {
namespace {

// Stands in for a quoted blank while the line is split at blanks.
constexpr char kQuotedBlank = '\0';
constexpr std::string_view kListSuffix = ".VPL";

std::vector<std::string> SplitAtBlanks(std::string_view text) {
  std::vector<std::string> tokens;
  size_t start = 0;
  while (true) {
    const size_t blank = text.find(' ', start);
    tokens.emplace_back(text.substr(start, blank == std::string_view::npos ? std::string_view::npos : blank - start));
    if (blank == std::string_view::npos) return tokens;
    start = blank + 1;
  }
}

std::string UpperAscii(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper;
}

// The switch letter of a token, 0 for a file. Only the first two characters
// decide, so "-B-" acts as "-B" and "-Pfoo" as "-P": partners rely on that.
char SwitchOf(const std::string& token) {
  const std::string sw = UpperAscii(std::string_view(token).substr(0, 2));
  if (sw.size() != 2 || (sw[0] != '-' && sw[0] != '/')) return 0;
  // Here "/" also starts every absolute path: "/Q" is a switch, but
  // "/work/song.bms" (another "/" further on) is a chart.
  if (sw[0] == '/' && token.find('/', 1) != std::string::npos) return 0;
  return std::string_view("PSBWQ").find(sw[1]) == std::string_view::npos ? 0 : sw[1];
}

bool ApplySwitch(const std::string& token, CommandTarget& target) {
  switch (SwitchOf(token)) {
    case 'P':
      target.EnablePlayTimer();
      return true;
    case 'S':
      target.RequestStop();
      return true;
    case 'B':
      target.CheckBga();
      return true;
    case 'W':
      target.CheckWav();
      return true;
    case 'Q':
      target.SetQuitAfterPlay();
      return true;
    default:
      return false;
  }
}

bool IsListToken(const std::string& token) {
  return token.size() >= kListSuffix.size() &&
         UpperAscii(token.substr(token.size() - kListSuffix.size())) == kListSuffix;
}

}  // namespace

std::vector<std::string> SplitCommandLine(std::string_view line) {
  if (line.find('"') == std::string_view::npos) return SplitAtBlanks(line);
  std::string joined;
  size_t start = 0;
  bool quoted = false;
  while (true) {
    const size_t quote = line.find('"', start);
    std::string piece(line.substr(start, quote == std::string_view::npos ? std::string_view::npos : quote - start));
    if (quoted) {
      for (char& c : piece) c = c == ' ' ? kQuotedBlank : c;
    }
    joined += piece;
    if (quote == std::string_view::npos) break;
    start = quote + 1;
    quoted = !quoted;
  }
  std::vector<std::string> tokens = SplitAtBlanks(joined);
  for (auto& token : tokens) {
    for (char& c : token) c = c == kQuotedBlank ? ' ' : c;
  }
  return tokens;
}

void RunCommandLine(std::string_view line, CommandTarget& target) {
  bool added = false;
  for (const std::string& token : SplitCommandLine(line)) {
    if (ApplySwitch(token, target)) continue;
    if (IsListToken(token)) {
      target.ListLoad(token);
      continue;
    }
    if (!added) target.ListClear();
    added = true;
    target.ListAdd(token);
  }
  if (added) target.ListPlay(0);
}

std::string AbsoluteCommandLine(std::string_view line, const std::string& folder) {
  std::vector<std::string> tokens = SplitCommandLine(line);
  bool changed = false;
  for (std::string& token : tokens) {
    if (token.empty() || token[0] == '/' || SwitchOf(token) != 0) continue;
    token = (folder.ends_with('/') ? folder : folder + "/") + token;
    changed = true;
  }
  // Joining quotes exactly the tokens with blanks, so the running player's
  // split gives these tokens back.
  return changed ? JoinArguments(tokens) : std::string(line);
}

std::string JoinArguments(const std::vector<std::string>& args) {
  std::string line;
  for (size_t i = 0; i < args.size(); ++i) {
    if (i > 0) line += ' ';
    if (args[i].find(' ') != std::string::npos) {
      line += '"' + args[i] + '"';
    } else {
      line += args[i];
    }
  }
  return line;
}

}  // namespace vremo
