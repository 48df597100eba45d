// ProfileText: classic ini reading and one-key writing over a line list.
#include "shell/profile_file.h"

#include <cctype>

#include "shell/atomic_file.h"

namespace vremo {
namespace {

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) text.remove_suffix(1);
  return text;
}

bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) return false;
  }
  return true;
}

// The name of a "[Name]" line, or nothing when the line is no header.
bool HeaderName(std::string_view line, std::string_view& name) {
  line = Trim(line);
  if (line.size() < 2 || line.front() != '[') return false;
  const size_t close = line.find(']');
  if (close == std::string_view::npos) return false;
  name = Trim(line.substr(1, close - 1));
  return true;
}

}  // namespace

bool IsProfileText(std::string_view bytes) {
  if (bytes.find('\0') != std::string_view::npos) return false;
  const ProfileText text(bytes);
  for (const std::string& line : text.lines_) {
    const std::string_view trimmed = Trim(line);
    std::string_view name;
    if (trimmed.empty() || trimmed.front() == ';' || trimmed.front() == '#' || HeaderName(trimmed, name)) continue;
    if (trimmed.find('=') == std::string_view::npos) return false;
  }
  return true;
}

std::string CutToChars(std::string_view text, size_t chars) {
  size_t count = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    // Continuation bytes belong to the character before them.
    if ((static_cast<unsigned char>(text[i]) & 0xC0) == 0x80) continue;
    if (count == chars) return std::string(text.substr(0, i));
    ++count;
  }
  return std::string(text);
}

ProfileText::ProfileText(std::string_view text) {
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines_.emplace_back(line);
    start = end + 1;
  }
}

int ProfileText::FindSection(std::string_view section) const {
  for (size_t i = 0; i < lines_.size(); ++i) {
    std::string_view name;
    if (HeaderName(lines_[i], name) && SameName(name, section)) return static_cast<int>(i);
  }
  return -1;
}

int ProfileText::FindKey(int header, std::string_view key) const {
  for (size_t i = static_cast<size_t>(header) + 1; i < lines_.size(); ++i) {
    std::string_view name;
    if (HeaderName(lines_[i], name)) break;
    const std::string_view line = lines_[i];
    const size_t equals = line.find('=');
    if (equals != std::string_view::npos && SameName(Trim(line.substr(0, equals)), key)) return static_cast<int>(i);
  }
  return -1;
}

int ProfileText::SectionEnd(int header) const {
  int end = header + 1;
  for (size_t i = static_cast<size_t>(header) + 1; i < lines_.size(); ++i) {
    std::string_view name;
    if (HeaderName(lines_[i], name)) break;
    if (!Trim(lines_[i]).empty()) end = static_cast<int>(i) + 1;
  }
  return end;
}

std::string ProfileText::Get(std::string_view section, std::string_view key, std::string_view defaultText) const {
  const int header = FindSection(section);
  const int line = header < 0 ? -1 : FindKey(header, key);
  if (line < 0) return CutToChars(defaultText, kProfileValueChars - 1);
  const std::string_view text = lines_[static_cast<size_t>(line)];
  std::string_view value = Trim(text.substr(text.find('=') + 1));
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return CutToChars(value, kProfileValueChars - 1);
}

void ProfileText::Set(std::string_view section, std::string_view key, std::string_view value) {
  std::string line = std::string(key) + "=" + std::string(value);
  const int header = FindSection(section);
  if (header < 0) {
    if (!lines_.empty() && !Trim(lines_.back()).empty()) lines_.emplace_back();
    lines_.push_back("[" + std::string(section) + "]");
    lines_.push_back(std::move(line));
    return;
  }
  const int existing = FindKey(header, key);
  if (existing >= 0) {
    lines_[static_cast<size_t>(existing)] = std::move(line);
    return;
  }
  lines_.insert(lines_.begin() + SectionEnd(header), std::move(line));
}

std::string ProfileText::Text() const {
  std::string text;
  for (const std::string& line : lines_) text += line + "\r\n";
  return text;
}

bool ProfileText::Save(const std::string& path) const { return WriteFileAtomically(path, Text()); }

}  // namespace vremo
