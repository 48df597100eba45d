#pragma once
// Pictures from files: the chart's 256 picture slots (#BMPxx) and the
// layout's skin picture. Every format the desktop's picture reader knows is
// accepted whatever the file's extension says (BMP, PNG, JPEG, GIF). A file
// that is missing, damaged or too large leaves its slot empty; the size is
// checked from the file's header before any pixel memory is taken. Pictures
// keep black as their colour key. The media layer owns the slots; UI thread.

#include <QImage>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "chart/chart.h"
#include "chart/media_loader.h"
#include "chart/media_path.h"
#include "display/surface.h"

namespace vremo {

// Pictures wider or higher than this are refused unread.
inline constexpr int32_t kMaxPictureSide = 16384;

// Resolves `path` (media_path.h rules, through `folders` when given) and
// reads the picture into a counted surface; nullptr when that fails for any
// reason.
std::unique_ptr<Surface> LoadPictureFile(const std::string& path, SurfaceMemory& memory,
                                         MediaFolderIndex* folders = nullptr);
// The picture at `resolved` (an existing file), with the same checks but no
// memory budget; any thread.
std::optional<QImage> ReadPictureFile(const std::string& resolved);

class MediaPrefetch;

class PictureSlots {
 public:
  // Replaces the slot's picture with the file's, or empties the slot when
  // the file cannot be read. The size is reported only when `measure` is set
  // (names not ending in BMP); the chart keeps its own sizes.
  PictureLoadResult Load(int slot, const std::string& path, bool measure, SurfaceMemory& memory);
  // nullptr for an empty slot or a slot number outside 0-255.
  const Surface* Picture(int slot) const;
  bool AnyLoaded() const;
  // Empties every slot; the next chart's names are resolved afresh.
  void ReleaseAll();
  // Pictures decoded ahead of the load are taken from `prefetch` (may be
  // null), which must outlive its use here.
  void SetPrefetch(const MediaPrefetch* prefetch) { prefetch_ = prefetch; }

 private:
  std::unique_ptr<Surface> LoadFile(const std::string& path, SurfaceMemory& memory);

  std::array<std::unique_ptr<Surface>, kMaxMediaSlots> slots_;
  MediaFolderIndex folders_;
  const MediaPrefetch* prefetch_ = nullptr;
};

}  // namespace vremo
