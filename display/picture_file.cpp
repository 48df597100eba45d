// Reading pictures through QImageReader, header first.
#include "display/picture_file.h"

#include <QImageReader>
#include <functional>

#include "chart/media_path.h"
#include "display/media_prefetch.h"

namespace vremo {

namespace {

// The header's size decides before anything is decoded: a damaged or hostile
// header never makes us allocate. `fits` asks whether that many bytes may be
// taken.
std::optional<QImage> ReadPicture(const std::string& resolved, const std::function<bool(int64_t)>& fits) {
  QImageReader reader(QString::fromStdString(resolved));
  reader.setDecideFormatFromContent(true);
  const QSize size = reader.size();
  if (!size.isValid() || size.width() <= 0 || size.height() <= 0) return std::nullopt;
  if (size.width() > kMaxPictureSide || size.height() > kMaxPictureSide) return std::nullopt;
  if (fits && !fits(int64_t{size.width()} * size.height() * kSurfaceBytesPerPixel)) return std::nullopt;
  QImage image;
  if (!reader.read(&image) || image.isNull()) return std::nullopt;
  return image;
}

}  // namespace

std::optional<QImage> ReadPictureFile(const std::string& resolved) { return ReadPicture(resolved, {}); }

std::unique_ptr<Surface> LoadPictureFile(const std::string& path, SurfaceMemory& memory, MediaFolderIndex* folders) {
  const std::optional<std::string> resolved =
      folders != nullptr ? folders->Resolve(path, MediaKind::kPicture) : ResolveMediaPath(path, MediaKind::kPicture);
  if (!resolved) return nullptr;
  std::optional<QImage> image = ReadPicture(*resolved, [&memory](int64_t bytes) { return memory.Fits(bytes); });
  return image ? memory.Adopt(std::move(*image)) : nullptr;
}

// A picture decoded ahead is taken when it fits, as if read now.
std::unique_ptr<Surface> PictureSlots::LoadFile(const std::string& path, SurfaceMemory& memory) {
  if (prefetch_ != nullptr) {
    const std::optional<std::string> resolved = folders_.Resolve(path, MediaKind::kPicture);
    if (!resolved) return nullptr;
    if (const PrefetchedPicture* ahead = prefetch_->Picture(*resolved)) {
      if (!ahead->image) return nullptr;
      const QImage& image = *ahead->image;
      if (!memory.Fits(int64_t{image.width()} * image.height() * kSurfaceBytesPerPixel)) return nullptr;
      return memory.Adopt(image);
    }
  }
  return LoadPictureFile(path, memory, &folders_);
}

PictureLoadResult PictureSlots::Load(int slot, const std::string& path, bool measure, SurfaceMemory& memory) {
  if (slot < 0 || slot >= kMaxMediaSlots) return {};
  // The old picture goes first so that its memory counts as free.
  slots_[static_cast<size_t>(slot)].reset();
  std::unique_ptr<Surface> picture = LoadFile(path, memory);
  if (picture == nullptr) return {};
  PictureLoadResult result;
  result.loaded = true;
  if (measure) {
    result.width = picture->width();
    result.height = picture->height();
  }
  slots_[static_cast<size_t>(slot)] = std::move(picture);
  return result;
}

const Surface* PictureSlots::Picture(int slot) const {
  if (slot < 0 || slot >= kMaxMediaSlots) return nullptr;
  return slots_[static_cast<size_t>(slot)].get();
}

bool PictureSlots::AnyLoaded() const {
  for (const auto& picture : slots_) {
    if (picture != nullptr) return true;
  }
  return false;
}

void PictureSlots::ReleaseAll() {
  for (auto& picture : slots_) picture.reset();
  folders_.Clear();
}

}  // namespace vremo
