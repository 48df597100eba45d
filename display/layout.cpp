// LoadRect: reading the layout file's lines into the Layout.
#include "display/layout.h"

#include <cmath>
#include <string_view>

#include "chart/bms_reader.h"
#include "chart/chart_text.h"
#include "chart/numbers.h"
#include "display/media_layer.h"
#include "display/picture_file.h"

namespace vremo {
namespace {

// 1-based columns where each key's values begin ("#BGA 1,2,3,4": column 6).
constexpr size_t kBgaColumn = 6;
constexpr size_t kFileColumn = 7;
constexpr size_t kLaneColumn = 8;
constexpr size_t kPoorColumn = 7;
constexpr size_t kBadColumn = 6;
constexpr size_t kGoodColumn = 7;
constexpr size_t kGreatColumn = 8;
constexpr size_t kFGreatColumn = 9;
constexpr size_t kNumberColumn = 6;
// The two-digit lane or image number sits in columns 5 and 6.
constexpr size_t kNumberIndexColumn = 5;
constexpr size_t kNumberIndexLength = 2;
constexpr size_t kKeyLength = 3;

constexpr int32_t kPoorIndex = 0;
constexpr int32_t kBadIndex = 1;
constexpr int32_t kGoodIndex = 2;
constexpr int32_t kGreatIndex = 3;
constexpr int32_t kFGreatIndex = 4;

// The leading numbers of the first `count` fields after `column`; missing
// fields read 0.
std::vector<double> Fields(std::u32string_view line, size_t column, size_t count) {
  std::u32string_view rest = MidFrom(line, column);
  std::vector<double> values(count, 0.0);
  for (size_t i = 0; i < count && !rest.empty(); ++i) {
    const size_t comma = rest.find(U',');
    values[i] = LeadingNumber(rest.substr(0, comma));
    rest = comma == std::u32string_view::npos ? std::u32string_view() : rest.substr(comma + 1);
  }
  return values;
}

// No layout number is bigger than this many pixels; larger ones can only be
// garbage, and keeping them out keeps every sum the renderer makes of them
// in range.
constexpr double kLayoutNumberLimit = 1 << 20;

// A whole-number assignment: rounded halves to even, skipped when the value
// does not fit.
void Assign(int32_t& target, double value) {
  if (!(std::fabs(value) <= kLayoutNumberLimit)) return;
  if (auto rounded = RoundToInt32(value)) target = *rounded;
}

// The two-digit number of "#KEYnn" and "#OBJnn"; empty outside the tables.
std::optional<int32_t> TableIndex(std::u32string_view line) {
  if (line.size() < kNumberIndexColumn) return std::nullopt;
  const auto index = RoundToInt32(LeadingNumber(line.substr(kNumberIndexColumn - 1, kNumberIndexLength)));
  if (!index || *index < 0 || *index >= kLayoutTableSize) return std::nullopt;
  return index;
}

// Source rectangle (a, b, a + c, b + d) with width c and height d.
void AssignImage(Rect& source, int32_t& width, int32_t& height, const std::vector<double>& f) {
  Assign(source.left, f[0]);
  Assign(source.top, f[1]);
  Assign(source.right, f[0] + f[2]);
  Assign(source.bottom, f[1] + f[3]);
  Assign(width, f[2]);
  Assign(height, f[3]);
}

void ReadJudgement(Layout& layout, int32_t kind, std::u32string_view line, size_t column) {
  JudgementImage& image = layout.judgements[static_cast<size_t>(kind)];
  AssignImage(image.source, image.width, image.height, Fields(line, column, 4));
}

void ReadFGreat(Layout& layout, std::u32string_view line) {
  const std::vector<double> f = Fields(line, kFGreatColumn, 5);
  JudgementImage& image = layout.judgements[kFGreatIndex];
  Assign(image.width, f[2]);
  Assign(image.height, f[3]);
  int32_t count = static_cast<int32_t>(layout.fGreatFrames.size());
  Assign(count, f[4]);
  count = std::clamp(count, 0, kMaxFGreatFrames);
  // Frames are stacked downwards on the skin.
  layout.fGreatFrames.assign(static_cast<size_t>(count), Rect{});
  for (int32_t k = 0; k < count; ++k) {
    Rect& frame = layout.fGreatFrames[static_cast<size_t>(k)];
    Assign(frame.left, f[0]);
    Assign(frame.top, f[1] + k * f[3]);
    Assign(frame.right, f[0] + f[2]);
    Assign(frame.bottom, frame.top + f[3]);
  }
}

void ReadDigits(Layout& layout, std::u32string_view line) {
  const std::vector<double> f = Fields(line, kNumberColumn, 4);
  // Digits 0 to 9 side by side.
  for (int32_t k = 0; k < kDigitImages; ++k) {
    Rect& digit = layout.digits[static_cast<size_t>(k)];
    Assign(digit.left, f[0] + k * f[2]);
    Assign(digit.top, f[1]);
    Assign(digit.right, digit.left + f[2]);
    Assign(digit.bottom, f[1] + f[3]);
  }
  Assign(layout.digitWidth, f[2]);
}

void ReadLane(Layout& layout, std::u32string_view line) {
  const auto lane = TableIndex(line);
  if (!lane) return;
  const std::vector<double> f = Fields(line, kLaneColumn, 3);
  LaneEntry& entry = layout.lanes[static_cast<size_t>(*lane)];
  Assign(entry.image, f[0]);
  Assign(entry.x, f[1]);
  if (auto style = RoundToInt16(f[2])) entry.style = *style;
}

void ReadNoteImage(std::array<NoteImage, kLayoutTableSize>& images, std::u32string_view line) {
  const auto number = TableIndex(line);
  if (!number) return;
  const std::vector<double> f = Fields(line, kLaneColumn, 4);
  NoteImage& image = images[static_cast<size_t>(*number)];
  AssignImage(image.source, image.width, image.height, f);
  Assign(image.offsetY, -f[3]);
}

std::string FolderOf(const std::string& path) {
  const size_t slash = path.find_last_of("\\/");
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

void ReadSkinFile(std::u32string_view line, const std::string& folder, LayoutContext& context) {
  const std::string name = ToUtf8(TrimBlanks(MidFrom(line, kFileColumn)));
  MediaLayer& media = context.media;
  // The old skin goes first so that its memory counts as free.
  media.SetSkin(nullptr);
  media.SetSkin(LoadPictureFile(folder + name, media.memory()));
}

void ReadLine(std::u32string_view line, Layout& layout, const std::string& folder, LayoutContext& context) {
  if (line.empty() || line.front() != U'#') return;
  std::u32string key(line.substr(1, kKeyLength));
  for (char32_t& c : key) {
    if (c >= U'a' && c <= U'z') c -= U'a' - U'A';
  }
  if (key == U"BGA") {
    const std::vector<double> f = Fields(line, kBgaColumn, 4);
    Assign(layout.bga.x, f[0]);
    Assign(layout.bga.y, f[1]);
    Assign(layout.bga.width, f[2]);
    Assign(layout.bga.height, f[3]);
    layout.bgaShown = true;
  } else if (key == U"FUL") {
    if (context.setScreenMode) {
      context.setScreenMode(true);
    } else {
      context.media.SetFullScreenSize();
    }
  } else if (key == U"FIL") {
    ReadSkinFile(line, folder, context);
  } else if (key == U"KEY") {
    ReadLane(layout, line);
  } else if (key == U"OBJ") {
    ReadNoteImage(layout.images, line);
  } else if (key == U"POO") {
    ReadJudgement(layout, kPoorIndex, line, kPoorColumn);
  } else if (key == U"BAD") {
    ReadJudgement(layout, kBadIndex, line, kBadColumn);
  } else if (key == U"GOO") {
    ReadJudgement(layout, kGoodIndex, line, kGoodColumn);
  } else if (key == U"GRE") {
    ReadJudgement(layout, kGreatIndex, line, kGreatColumn);
  } else if (key == U"FGR") {
    ReadFGreat(layout, line);
  } else if (key == U"NUM") {
    ReadDigits(layout, line);
  } else if (key == U"LNH") {
    ReadNoteImage(layout.modern.longHeads, line);
  } else if (key == U"LNB") {
    ReadNoteImage(layout.modern.longBodies, line);
  } else if (key == U"LNT") {
    ReadNoteImage(layout.modern.longTails, line);
  } else if (key == U"MIN") {
    ReadNoteImage(layout.modern.mines, line);
  }
}

}  // namespace

const LaneEntry* Layout::Lane(int32_t lane) const {
  if (lane < 0 || lane >= kLayoutTableSize) return nullptr;
  return &lanes[static_cast<size_t>(lane)];
}

const NoteImage* Layout::ImageOfLane(int32_t lane) const {
  const LaneEntry* entry = Lane(lane);
  if (entry == nullptr || entry->image < 0 || entry->image >= kLayoutTableSize) return nullptr;
  return &images[static_cast<size_t>(entry->image)];
}

const NoteImage* Layout::NamedOfLane(const std::array<NoteImage, kLayoutTableSize>& table, int32_t lane) const {
  const LaneEntry* entry = Lane(lane);
  if (entry == nullptr || entry->image < 0 || entry->image >= kLayoutTableSize) return nullptr;
  const NoteImage& image = table[static_cast<size_t>(entry->image)];
  return image.width > 0 && image.height > 0 ? &image : nullptr;
}

const Rect* Layout::Glyph(int32_t code) const {
  if (code < kFontFirstCode || code > kFontLastCode) return nullptr;
  return &font[static_cast<size_t>(code - kFontFirstCode)];
}

SideSwitches SideSwitchesOf(const Chart& chart) { return {chart.sideUsed[0] != 0, chart.sideUsed[1] != 0}; }

void LoadRect(const std::string& path, Layout& layout, LayoutContext& context) {
  DebugLog& log = context.log;
  log.PutLog("LoadRect -----");
  layout.path = path;
  if (!log.CheckExist(path)) return;
  // A file that cannot be read whole is treated like a missing one: the
  // previous layout stays.
  const FileRead file = ReadWholeFile(path);
  if (!file.ok()) {
    log.PutLog(FileReadErrorLine(file, path));
    return;
  }
  const std::u32string text = DecodeChartBytes(file.bytes);
  layout.bgaShown = false;
  log.PutLog("  Loading rectfile...");
  layout.loading = true;

  const std::string folder = FolderOf(path);
  constexpr std::u32string_view kLineEnd = U"\r\n";
  size_t start = 0;
  while (start <= text.size()) {
    const size_t end = text.find(kLineEnd, start);
    const size_t stop = end == std::u32string::npos ? text.size() : end;
    ReadLine(std::u32string_view(text).substr(start, stop - start), layout, folder, context);
    if (end == std::u32string::npos) break;
    start = end + kLineEnd.size();
  }

  log.PutLog("  Setting fonts...");
  context.media.SetGuide(nullptr);
  BuildFontTable(layout);
  log.PutLog("  Making VLine...");
  MakeGuideSurface(layout, context);
  SetGaugeStrips(layout);
  layout.loading = false;
  log.PutLog("loadrect complete.");
}

}  // namespace vremo
