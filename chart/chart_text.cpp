// Decoding of chart bytes (UTF-8 or CP932 through iconv) and line splitting.
#include "chart/chart_text.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace vremo {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";
// Put in front of the text so that its first line is found like every other;
// decoders leave room for it.
constexpr std::u32string_view kLeadingLineEnd = U"\r\n";
// What a chart that is not UTF-8 is written in.
constexpr const char* kChartCodePage = "CP932";

}  // namespace

bool DecodeUtf8(std::string_view bytes, std::u32string& out) {
  out.clear();
  out.reserve(bytes.size() + kLeadingLineEnd.size());
  size_t i = 0;
  while (i < bytes.size()) {
    const auto b0 = static_cast<unsigned char>(bytes[i]);
    if (b0 < 0x80) {
      out.push_back(b0);
      ++i;
      continue;
    }
    int extra;
    char32_t cp;
    char32_t min;
    if ((b0 & 0xE0) == 0xC0) {
      extra = 1, cp = b0 & 0x1F, min = 0x80;
    } else if ((b0 & 0xF0) == 0xE0) {
      extra = 2, cp = b0 & 0x0F, min = 0x800;
    } else if ((b0 & 0xF8) == 0xF0) {
      extra = 3, cp = b0 & 0x07, min = 0x10000;
    } else {
      return false;
    }
    if (i + static_cast<size_t>(extra) >= bytes.size()) return false;
    for (int k = 1; k <= extra; ++k) {
      const auto b = static_cast<unsigned char>(bytes[i + k]);
      if ((b & 0xC0) != 0x80) return false;
      cp = (cp << 6) | (b & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
    out.push_back(cp);
    i += static_cast<size_t>(extra) + 1;
  }
  return true;
}

namespace {

// The first byte value that can be the second byte of a double-byte
// character in the code pages charts use (CP932, CP949): right after a
// smaller byte iconv is always at a character's start.
constexpr unsigned char kFirstTrailByte = 0x40;
constexpr unsigned char kFirstNonAscii = 0x80;

// Converts bytes that start and end on character boundaries. Input and
// output go through small windows: garbage makes iconv stop at every other
// byte, and each call must stay cheap (a sanitizer checks both whole buffers
// on every call).
void ConvertRun(iconv_t cd, std::string_view bytes, std::u32string& out, size_t& replaced) {
  constexpr size_t kWindowBytes = 4096;
  char buffer[kWindowBytes * 4];
  size_t pos = 0;
  while (pos < bytes.size()) {
    const size_t window = std::min(kWindowBytes, bytes.size() - pos);
    char* in = const_cast<char*>(bytes.data() + pos);
    size_t inLeft = window;
    char* outPtr = buffer;
    size_t outLeft = sizeof buffer;
    const size_t result = iconv(cd, &in, &inLeft, &outPtr, &outLeft);
    const int error = errno;
    pos += window - inLeft;
    const auto* p = reinterpret_cast<const unsigned char*>(buffer);
    for (const auto* end = reinterpret_cast<const unsigned char*>(outPtr); p + 4 <= end; p += 4) {
      out.push_back(static_cast<char32_t>(p[0]) | static_cast<char32_t>(p[1]) << 8 | static_cast<char32_t>(p[2]) << 16 |
                    static_cast<char32_t>(p[3]) << 24);
    }
    if (result != static_cast<size_t>(-1)) continue;
    // A character cut by the window's end is read again with the next one.
    if (error == EINVAL && pos + inLeft < bytes.size() && inLeft < window) continue;
    if (error == E2BIG) continue;
    // EILSEQ, or a character cut by the end of the text: skip one byte.
    out.push_back(kReplacement);
    ++replaced;
    ++pos;
  }
}

// Appends the ASCII bytes from `pos` on, which these code pages map to
// themselves; returns the position of the first other byte.
size_t AppendAscii(std::string_view bytes, size_t pos, std::u32string& out) {
  size_t end = pos;
  while (end < bytes.size() && static_cast<unsigned char>(bytes[end]) < kFirstNonAscii) ++end;
  const size_t start = out.size();
  out.resize(start + (end - pos));
  char32_t* to = out.data() + start;
  for (size_t i = pos; i < end; ++i) *to++ = static_cast<unsigned char>(bytes[i]);
  return end;
}

// Each thread keeps its converters open: glibc unloads an encoding's module
// when its last converter closes, and loading it again for every chart was
// a quarter of a library scan's time.
class ConverterCache {
 public:
  ConverterCache() = default;
  ConverterCache(const ConverterCache&) = delete;
  ConverterCache& operator=(const ConverterCache&) = delete;
  ~ConverterCache() {
    for (const Entry& entry : entries_) {
      if (entry.cd != kNoConverter) iconv_close(entry.cd);
    }
  }

  // A converter to UTF-32LE in its initial state; kNoConverter when the
  // encoding is unknown.
  iconv_t Get(const char* encoding) {
    for (const Entry& entry : entries_) {
      if (entry.encoding == encoding) {
        if (entry.cd != kNoConverter) iconv(entry.cd, nullptr, nullptr, nullptr, nullptr);
        return entry.cd;
      }
    }
    entries_.push_back({encoding, iconv_open("UTF-32LE", encoding)});
    return entries_.back().cd;
  }

  static inline const iconv_t kNoConverter = reinterpret_cast<iconv_t>(-1);

 private:
  struct Entry {
    std::string encoding;
    iconv_t cd;
  };
  std::vector<Entry> entries_;
};

iconv_t ThreadConverter(const char* encoding) {
  thread_local ConverterCache cache;
  return cache.Get(encoding);
}

// Decodes pieces of one text in an iconv encoding. Charts are nearly all
// ASCII: only the stretches around other bytes go through iconv, whose
// per-character cost would otherwise dominate reading.
class IconvDecoder {
 public:
  explicit IconvDecoder(const char* encoding) : cd_(ThreadConverter(encoding)) {}

  // Appends the characters of bytes that start on a character's start.
  void Append(std::string_view bytes, std::u32string& out, size_t& replaced) {
    if (!open()) {
      // No converter: keep ASCII, replace the rest.
      for (char c : bytes) {
        const bool ascii = static_cast<unsigned char>(c) < kFirstNonAscii;
        out.push_back(ascii ? static_cast<char32_t>(c) : kReplacement);
        replaced += ascii ? 0 : 1;
      }
      return;
    }
    size_t pos = 0;
    while (pos < bytes.size()) {
      pos = AppendAscii(bytes, pos, out);
      if (pos == bytes.size()) break;
      size_t end = pos + 1;
      while (end < bytes.size() && static_cast<unsigned char>(bytes[end - 1]) >= kFirstTrailByte) ++end;
      ConvertRun(cd_, bytes.substr(pos, end - pos), out, replaced);
      pos = end;
    }
  }

 private:
  bool open() const { return cd_ != ConverterCache::kNoConverter; }
  iconv_t cd_;
};

}  // namespace

std::u32string DecodeWithIconv(std::string_view bytes, const char* encoding, size_t* errors) {
  std::u32string out;
  size_t replaced = 0;
  IconvDecoder decoder(encoding);
  out.reserve(bytes.size() + kLeadingLineEnd.size());
  decoder.Append(bytes, out, replaced);
  if (errors != nullptr) *errors = replaced;
  return out;
}

namespace {
std::u32string DecodeCp932(std::string_view bytes) { return DecodeWithIconv(bytes, kChartCodePage, nullptr); }
}  // namespace

std::u32string DecodeChartBytes(std::string_view bytes) {
  const size_t nul = bytes.find('\0');
  if (nul != std::string_view::npos) bytes = bytes.substr(0, nul);
  std::u32string text;
  std::string_view body = bytes;
  if (body.substr(0, kUtf8Bom.size()) == kUtf8Bom) body.remove_prefix(kUtf8Bom.size());
  if (DecodeUtf8(body, text)) return text;
  return DecodeCp932(bytes);
}

std::string ToUtf8(std::u32string_view text) {
  std::string out;
  out.reserve(text.size());
  for (char32_t c : text) {
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

std::u32string FromUtf8(std::string_view text) {
  std::u32string out;
  if (!DecodeUtf8(text, out)) {
    out.clear();
    for (char c : text) out.push_back(static_cast<unsigned char>(c) < 0x80 ? static_cast<char32_t>(c) : kReplacement);
  }
  return out;
}

std::u32string PrepareChartText(std::u32string text) {
  if (text.find(U"\r\n") == std::u32string::npos && text.find(U'\r') != std::u32string::npos) {
    std::u32string converted;
    converted.reserve(text.size() + text.size() / 16);
    for (char32_t c : text) {
      converted.push_back(c);
      if (c == U'\r') converted.push_back(U'\n');
    }
    text = std::move(converted);
  }
  text.insert(0, kLeadingLineEnd);
  return text;
}

void ForEachChartLine(const std::u32string& text, const std::function<void(std::u32string_view line)>& onLine) {
  // Works in 0-based indices; "start" is the index of the line's first
  // character, right after the "#".
  static constexpr std::u32string_view kLineStart = U"\r\n#";
  static constexpr std::u32string_view kLineEnd = U"\r\n";
  const std::u32string_view view(text);
  size_t found = view.find(kLineStart);
  while (found != std::u32string_view::npos) {
    const size_t start = found + kLineStart.size();
    // The end is searched from the line's second character on; with none
    // found the line runs to the text's last character, excluded.
    size_t end = start + 1 <= view.size() ? view.find(kLineEnd, start + 1) : std::u32string_view::npos;
    if (end == std::u32string_view::npos) end = view.empty() ? 0 : view.size() - 1;
    const std::u32string_view line = end > start ? view.substr(start, end - start) : std::u32string_view();
    onLine(line);
    found = view.find(kLineStart, end);
  }
}

std::u32string_view TrimBlanks(std::u32string_view text) {
  while (!text.empty() && text.front() == U' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == U' ') text.remove_suffix(1);
  return text;
}

std::u32string_view MidFrom(std::u32string_view text, size_t from) {
  if (from == 0 || from > text.size()) return {};
  return text.substr(from - 1);
}

}  // namespace vremo

namespace vremo {

// CR, LF and "#" are single bytes that never belong to another character in
// CP932, so lines are found on the bytes, and only each line is decoded: the
// whole text is never held as characters.
void ForEachChartTextLine(std::string_view bytes, const std::function<void(std::u32string_view line)>& onLine) {
  const size_t nul = bytes.find('\0');
  if (nul != std::string_view::npos) bytes = bytes.substr(0, nul);
  std::string_view body = bytes;
  if (body.substr(0, kUtf8Bom.size()) == kUtf8Bom) body.remove_prefix(kUtf8Bom.size());
  std::u32string text;
  const bool utf8 = DecodeUtf8(body, text);
  const bool oldMacintosh = bytes.find("\r\n") == std::string_view::npos && bytes.find('\r') != std::string_view::npos;
  if (utf8 || oldMacintosh) {
    if (!utf8) text = DecodeWithIconv(bytes, kChartCodePage, nullptr);
    ForEachChartLine(PrepareChartText(std::move(text)), onLine);
    return;
  }
  // As ForEachChartLine on the text with CR LF put in front (see there).
  static constexpr std::string_view kLineStart = "\r\n#";
  static constexpr std::string_view kLineEnd = "\r\n";
  IconvDecoder decoder(kChartCodePage);
  std::u32string line;
  size_t replaced = 0;
  size_t found = bytes.starts_with('#') ? 0 : bytes.find(kLineStart);
  while (found != std::string_view::npos) {
    // The text's first "#" follows the CR LF put in front of it.
    const size_t start = found == 0 && bytes.starts_with('#') ? 1 : found + kLineStart.size();
    const size_t end = start + 1 <= bytes.size() ? bytes.find(kLineEnd, start + 1) : std::string_view::npos;
    line.clear();
    decoder.Append(bytes.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start), line,
                   replaced);
    // An unterminated last line loses its last character.
    if (end == std::string_view::npos && !line.empty()) line.pop_back();
    onLine(line);
    found = end == std::string_view::npos ? end : bytes.find(kLineStart, end);
  }
}

}  // namespace vremo
