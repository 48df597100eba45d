// List file bytes.
#include "shell/play_list_file.h"

#include <cstdint>
#include <limits>

#include "chart/chart_text.h"
#include "shell/binary_io.h"

namespace vremo {
namespace {

constexpr size_t kSignatureBytes = 20;
constexpr std::string_view kSignature = "Vremo Play List";
constexpr int32_t kEmptyListCount = -1;
constexpr size_t kMaxStringBytes = std::numeric_limits<uint16_t>::max();

void PutString(std::string& out, const std::string& text) {
  // A longer text is cut at a whole character so the file stays readable.
  size_t size = std::min(text.size(), kMaxStringBytes);
  while (size < text.size() && size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) --size;
  out += static_cast<char>(size & 0xFF);
  out += static_cast<char>(size >> 8);
  out.append(text, 0, size);
}

// Reads from `at`, advancing it; false at the end of the bytes.
class Reader {
 public:
  explicit Reader(std::string_view bytes, size_t at) : bytes_(bytes), at_(at) {}
  bool AtEnd() const { return at_ == bytes_.size(); }
  bool Int(int32_t& value) {
    if (bytes_.size() - at_ < 4) return false;
    value = Int32At(bytes_, at_);
    at_ += 4;
    return true;
  }
  bool Float(float& value) {
    if (bytes_.size() - at_ < 4) return false;
    value = FloatAt(bytes_, at_);
    at_ += 4;
    return true;
  }
  bool String(std::string& value) {
    if (bytes_.size() - at_ < 2) return false;
    const size_t size = static_cast<unsigned char>(bytes_[at_]) | (static_cast<unsigned char>(bytes_[at_ + 1]) << 8);
    at_ += 2;
    if (bytes_.size() - at_ < size) return false;
    value = ToUtf8(DecodeChartBytes(bytes_.substr(at_, size)));
    at_ += size;
    return true;
  }

 private:
  std::string_view bytes_;
  size_t at_;
};

bool ReadEntry(Reader& in, ChartListInfo& e) {
  return in.String(e.title) && in.String(e.artist) && in.String(e.genre) && in.Float(e.bpm) && in.Int(e.player) &&
         in.Int(e.playLevel) && in.String(e.midiFile) && in.Int(e.rank) && in.Int(e.volWav) && in.Int(e.total) &&
         in.Int(e.lengthMs) && in.String(e.path);
}

}  // namespace

std::string EncodeListFile(const std::vector<ChartListInfo>& entries) {
  std::string out(kSignature);
  out.resize(kSignatureBytes, '\0');
  PutInt32(out, static_cast<int32_t>(entries.size()) + kEmptyListCount);
  for (const ChartListInfo& e : entries) {
    PutString(out, e.title);
    PutString(out, e.artist);
    PutString(out, e.genre);
    PutFloat(out, e.bpm);
    PutInt32(out, e.player);
    PutInt32(out, e.playLevel);
    PutString(out, e.midiFile);
    PutInt32(out, e.rank);
    PutInt32(out, e.volWav);
    PutInt32(out, e.total);
    PutInt32(out, e.lengthMs);
    PutString(out, e.path);
  }
  return out;
}

bool DecodeListFile(std::string_view bytes, std::vector<ChartListInfo>& out) {
  Reader in(bytes, std::min(bytes.size(), kSignatureBytes));
  int32_t count = 0;
  if (!in.Int(count)) return false;
  // Entries are read one by one, so a broken Count costs no memory.
  for (int64_t i = 0; i <= count; ++i) {
    ChartListInfo entry;
    if (!ReadEntry(in, entry)) return false;
    out.push_back(std::move(entry));
  }
  // A Count below the entries the file holds would lose the rest unseen.
  return count >= kEmptyListCount && in.AtEnd();
}

}  // namespace vremo
