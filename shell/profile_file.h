#pragma once
// A private-profile (ini) text held in memory: sections "[Name]" of
// "Key=Value" lines. Reads behave like the classic profile routines: names
// match without regard to case, the value is trimmed, a value in matching
// quotes loses them, and at most kProfileValueChars - 1 characters come back
// (the classic 128-character buffer). A write changes one key and keeps every
// other line, section, comment and blank line as it was.
// The settings file uses it; UI thread.

#include <string>
#include <string_view>
#include <vector>

namespace vremo {

inline constexpr size_t kProfileValueChars = 128;

class ProfileText {
 public:
  ProfileText() = default;
  explicit ProfileText(std::string_view text);

  // The value, cut to 127 characters, or `defaultText` when the section or
  // the key is missing.
  std::string Get(std::string_view section, std::string_view key, std::string_view defaultText) const;
  // Replaces the key's value in place, or adds the key at the end of its
  // section, or the section at the end of the text.
  void Set(std::string_view section, std::string_view key, std::string_view value);

  // The text with CR LF line ends.
  std::string Text() const;
  // Writes the text atomically; false (and the old file kept) on failure.
  bool Save(const std::string& path) const;

 private:
  // Index of the section's header line, or -1.
  int FindSection(std::string_view section) const;
  // Index of the key's line within the section starting at `header`, or -1.
  int FindKey(int header, std::string_view key) const;
  // One past the section's last non-blank line.
  int SectionEnd(int header) const;

  std::vector<std::string> lines_;

  friend bool IsProfileText(std::string_view bytes);
};

// Whether the bytes read as profile text: no NUL byte, and every line blank,
// a comment (";" or "#"), a "[Section]" header or a "Key=Value" line.
bool IsProfileText(std::string_view bytes);

// Cuts UTF-8 text to at most `chars` characters.
std::string CutToChars(std::string_view text, size_t chars);

}  // namespace vremo
