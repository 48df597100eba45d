#pragma once
// Chart text: decoding the file's bytes into characters and splitting the
// text into "#" lines the way the reader has always done it (see
// ForEachChartLine). Positions count characters, so a double-byte Shift-JIS
// character is one character. Pure functions; any thread.

#include <functional>
#include <string>
#include <string_view>

namespace vremo {

// Bytes that are valid UTF-8 (with or without a byte-order mark) are read as
// UTF-8, everything else as CP932. The text ends before the first NUL; a
// byte-order mark is not part of it; undecodable bytes become U+FFFD.
std::u32string DecodeChartBytes(std::string_view bytes);

// Strict UTF-8 (no overlongs, no surrogates); false on any error.
bool DecodeUtf8(std::string_view bytes, std::u32string& out);
// Bytes in an iconv encoding ("CP932", "CP949", ...): an undecodable byte
// becomes U+FFFD and counts in `errors` (when given).
std::u32string DecodeWithIconv(std::string_view bytes, const char* encoding, size_t* errors);

std::string ToUtf8(std::u32string_view text);
std::u32string FromUtf8(std::string_view text);  // assumes valid UTF-8

// Line-end preparation: when the text has no CR LF pair, every CR becomes
// CR LF (old Macintosh files); LF-only files stay as they are. Then one CR LF
// is put in front so that the first line is found like every other.
std::u32string PrepareChartText(std::u32string text);

// Calls onLine for every line that starts with "#" right after a CR LF, with
// the text after the "#" up to the next CR LF. The line end is searched from
// the second character of the line, and an unterminated last line loses its
// last character: both are how charts in circulation have always been read.
void ForEachChartLine(const std::u32string& prepared, const std::function<void(std::u32string_view line)>& onLine);

// Calls onLine as ForEachChartLine(PrepareChartText(DecodeChartBytes(bytes)))
// would, without holding the whole text as characters.
void ForEachChartTextLine(std::string_view bytes, const std::function<void(std::u32string_view line)>& onLine);

// Blanks (U+0020 only) removed from both ends.
std::u32string_view TrimBlanks(std::u32string_view text);

// Characters from 1-based position `from` to the end ("" when past the end).
std::u32string_view MidFrom(std::u32string_view text, size_t from);

}  // namespace vremo
