// Reading pictures through QImageReader, header first.
#include "display/picture_file.h"

#include <QImageReader>

#include "chart/media_path.h"

namespace vremo {

std::unique_ptr<Surface> LoadPictureFile(const std::string& path, SurfaceMemory& memory, MediaFolderIndex* folders) {
  const std::optional<std::string> resolved =
      folders != nullptr ? folders->Resolve(path, MediaKind::kPicture) : ResolveMediaPath(path, MediaKind::kPicture);
  if (!resolved) return nullptr;
  QImageReader reader(QString::fromStdString(*resolved));
  reader.setDecideFormatFromContent(true);
  // The header's size decides before anything is decoded: a damaged or
  // hostile header never makes us allocate.
  const QSize size = reader.size();
  if (!size.isValid() || size.width() <= 0 || size.height() <= 0) return nullptr;
  if (size.width() > kMaxPictureSide || size.height() > kMaxPictureSide) return nullptr;
  if (!memory.Fits(int64_t{size.width()} * size.height() * kSurfaceBytesPerPixel)) return nullptr;
  QImage image;
  if (!reader.read(&image) || image.isNull()) return nullptr;
  return memory.Adopt(std::move(image));
}

PictureLoadResult PictureSlots::Load(int slot, const std::string& path, bool measure, SurfaceMemory& memory) {
  if (slot < 0 || slot >= kMaxMediaSlots) return {};
  // The old picture goes first so that its memory counts as free.
  slots_[static_cast<size_t>(slot)].reset();
  std::unique_ptr<Surface> picture = LoadPictureFile(path, memory, &folders_);
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
