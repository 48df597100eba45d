// Surfaces: pixel copies written out by hand (the renderer's whole frame is
// made of them), lines and boxes pixel by pixel so that they land exactly
// where the layout says, text through QPainter.
#include "display/surface.h"

#include <QCoreApplication>
#include <QFont>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QPainter>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include <unistd.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vremo {
namespace {

constexpr uint32_t kOpaque = 0xFF000000u;
constexpr uint32_t kRgbMask = 0x00FFFFFFu;
// The diagonal cross hatch repeats every 8 pixels, as the desktop's brush.
constexpr int32_t kHatchPeriod = 8;
constexpr const char* kPreferredFamily = "IPAGothic";
constexpr int32_t kDefaultFontPixels = 12;

// Clips a 1:1 copy of `src` to (x, y) against both surfaces; false when
// nothing is left.
bool ClipCopy(int32_t& x, int32_t& y, Rect& src, int32_t sourceWidth, int32_t sourceHeight, int32_t destWidth,
              int32_t destHeight) {
  if (src.left < 0) {
    x -= src.left;
    src.left = 0;
  }
  if (src.top < 0) {
    y -= src.top;
    src.top = 0;
  }
  src.right = std::min(src.right, sourceWidth);
  src.bottom = std::min(src.bottom, sourceHeight);
  if (x < 0) {
    src.left -= x;
    x = 0;
  }
  if (y < 0) {
    src.top -= y;
    y = 0;
  }
  src.right = std::min(src.right, src.left + (destWidth - x));
  src.bottom = std::min(src.bottom, src.top + (destHeight - y));
  return !src.Empty();
}

// Copies the pixels that are not the key; four at a time where the
// processor has SSE2 (the guide surface covers the whole frame).
void CopyKeyedRow(const uint32_t* from, uint32_t* to, int32_t count, uint32_t key) {
  int32_t i = 0;
#if defined(__SSE2__)
  constexpr int32_t kLanes = 4;
  const __m128i rgbMask = _mm_set1_epi32(static_cast<int>(kRgbMask));
  const __m128i keyVector = _mm_set1_epi32(static_cast<int>(key));
  for (; i + kLanes <= count; i += kLanes) {
    const __m128i source = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i));
    const __m128i dest = _mm_loadu_si128(reinterpret_cast<const __m128i*>(to + i));
    const __m128i isKey = _mm_cmpeq_epi32(_mm_and_si128(source, rgbMask), keyVector);
    const __m128i blended = _mm_or_si128(_mm_and_si128(isKey, dest), _mm_andnot_si128(isKey, source));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i), blended);
  }
#endif
  for (; i < count; ++i) {
    if ((from[i] & kRgbMask) != key) to[i] = from[i];
  }
}

QImage ToRgb32OverBlack(QImage image) {
  if (image.format() == QImage::Format_RGB32) return image;
  if (!image.hasAlphaChannel()) return image.convertToFormat(QImage::Format_RGB32);
  // Premultiplied pixels are the picture laid over black; the alpha byte
  // then just becomes opaque.
  QImage premultiplied = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  QImage result(premultiplied.size(), QImage::Format_RGB32);
  if (result.isNull()) return result;
  for (int y = 0; y < premultiplied.height(); ++y) {
    const auto* from = reinterpret_cast<const uint32_t*>(premultiplied.constScanLine(y));
    auto* to = reinterpret_cast<uint32_t*>(result.scanLine(y));
    for (int x = 0; x < premultiplied.width(); ++x) to[x] = from[x] | kOpaque;
  }
  return result;
}

}  // namespace

SurfaceFont DefaultSurfaceFont() { return SurfaceFont{kPreferredFamily, kDefaultFontPixels, false}; }

void EnsureGuiApplication() {
  if (QCoreApplication::instance() != nullptr) return;
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  static int argc = 1;
  static char name[] = "vremo";
  static char* argv[] = {name, nullptr};
  // Start-up chatter (a missing runtime folder, say) is no news to a
  // headless run.
  const QtMessageHandler previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
  // Lives as long as the process: Qt objects may be torn down in any order.
  static QGuiApplication* application = new QGuiApplication(argc, argv);
  (void)application;
  qInstallMessageHandler(previous);
}

Surface::Surface(int32_t width, int32_t height) : font_(DefaultSurfaceFont()) {
  if (width > 0 && height > 0) {
    image_ = QImage(width, height, QImage::Format_RGB32);
    if (!image_.isNull()) image_.fill(kOpaque);
  }
  AttachImage();
}

Surface::Surface(QImage image) : image_(ToRgb32OverBlack(std::move(image))), font_(DefaultSurfaceFont()) {
  AttachImage();
}

Surface::~Surface() {
  if (memory_ != nullptr) memory_->Release(Bytes());
}

void Surface::AttachImage() {
  if (image_.isNull()) {
    width_ = height_ = 0;
    bits_ = nullptr;
    stride_ = 0;
    return;
  }
  width_ = image_.width();
  height_ = image_.height();
  bits_ = image_.bits();
  stride_ = image_.bytesPerLine();
}

Colour Surface::Pixel(int32_t x, int32_t y) const {
  if (x < 0 || y < 0 || x >= width_ || y >= height_) return kBlack;
  return Row(y)[x] & kRgbMask;
}

void Surface::BltColorFill(const Rect& rect, Colour colour) {
  const int32_t left = std::max(rect.left, 0);
  const int32_t right = std::min(rect.right, width_);
  const int32_t top = std::max(rect.top, 0);
  const int32_t bottom = std::min(rect.bottom, height_);
  if (left >= right || top >= bottom) return;
  const uint32_t value = colour | kOpaque;
  for (int32_t y = top; y < bottom; ++y) std::fill(Row(y) + left, Row(y) + right, value);
}

void Surface::BltFast(int32_t x, int32_t y, const Surface& source, const Rect& sourceRect, ColourKey key) {
  Rect src = sourceRect;
  if (!ClipCopy(x, y, src, source.width_, source.height_, width_, height_)) return;
  const int32_t count = src.Width();
  if (key == ColourKey::kNone) {
    for (int32_t row = 0; row < src.Height(); ++row) {
      const uint32_t* from = source.Row(src.top + row) + src.left;
      std::copy(from, from + count, Row(y + row) + x);
    }
    return;
  }
  for (int32_t row = 0; row < src.Height(); ++row) {
    CopyKeyedRow(source.Row(src.top + row) + src.left, Row(y + row) + x, count, source.colourKey_);
  }
}

void Surface::Blt(const Rect& dest, const Surface& source, const Rect& sourceRect, ColourKey key) {
  if (dest.Empty() || sourceRect.Empty() || !Valid() || !source.Valid()) return;
  if (&source == this) {
    // Stretching a surface onto itself reads from a copy of the source part.
    Surface copy(sourceRect.Width(), sourceRect.Height());
    copy.BltFast(0, 0, *this, sourceRect, ColourKey::kNone);
    copy.colourKey_ = colourKey_;
    Blt(dest, copy, copy.FullRect(), key);
    return;
  }
  const int32_t left = std::max(dest.left, 0);
  const int32_t right = std::min(dest.right, width_);
  const int32_t top = std::max(dest.top, 0);
  const int32_t bottom = std::min(dest.bottom, height_);
  if (left >= right || top >= bottom) return;
  // Source column of every destination column, -1 outside the source.
  std::vector<int32_t> columns(static_cast<size_t>(right - left));
  for (int32_t x = left; x < right; ++x) {
    const int64_t sx = sourceRect.left + (int64_t{x} - dest.left) * sourceRect.Width() / dest.Width();
    columns[static_cast<size_t>(x - left)] = sx >= 0 && sx < source.width_ ? static_cast<int32_t>(sx) : -1;
  }
  const uint32_t colourKey = source.colourKey_;
  const bool keyed = key == ColourKey::kSource;
  for (int32_t y = top; y < bottom; ++y) {
    const int64_t sy = sourceRect.top + (int64_t{y} - dest.top) * sourceRect.Height() / dest.Height();
    if (sy < 0 || sy >= source.height_) continue;
    const uint32_t* from = source.Row(static_cast<int32_t>(sy));
    uint32_t* to = Row(y) + left;
    for (size_t i = 0; i < columns.size(); ++i) {
      if (columns[i] < 0) continue;
      const uint32_t value = from[columns[i]];
      if (!keyed || (value & kRgbMask) != colourKey) to[i] = value;
    }
  }
}

void Surface::DrawLine(int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
  if (std::max(x1, x2) < 0 || std::max(y1, y2) < 0 || std::min(x1, x2) >= width_ || std::min(y1, y2) >= height_) return;
  const uint32_t value = foreColour_ | kOpaque;
  const int64_t dx = std::abs(int64_t{x2} - x1);
  const int64_t dy = -std::abs(int64_t{y2} - y1);
  const int32_t stepX = x1 < x2 ? 1 : -1;
  const int32_t stepY = y1 < y2 ? 1 : -1;
  int64_t error = dx + dy;
  int64_t x = x1;
  int64_t y = y1;
  // The end point is left out.
  while (x != x2 || y != y2) {
    if (x >= 0 && y >= 0 && x < width_ && y < height_) Row(static_cast<int32_t>(y))[x] = value;
    const int64_t twice = 2 * error;
    if (twice >= dy) {
      error += dy;
      x += stepX;
    }
    if (twice <= dx) {
      error += dx;
      y += stepY;
    }
  }
}

void Surface::DrawBox(int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
  const Rect box{std::min(x1, x2), std::min(y1, y2), std::max(x1, x2), std::max(y1, y2)};
  if (box.Empty()) return;
  const Rect inside{box.left + 1, box.top + 1, box.right - 1, box.bottom - 1};
  if (fillStyle_ == FillStyle::kSolid) {
    BltColorFill(inside, fillColour_);
  } else if (fillStyle_ == FillStyle::kDiagonalCross) {
    const uint32_t value = fillColour_ | kOpaque;
    for (int32_t y = std::max(inside.top, 0); y < std::min(inside.bottom, height_); ++y) {
      for (int32_t x = std::max(inside.left, 0); x < std::min(inside.right, width_); ++x) {
        if ((x + y) % kHatchPeriod == 0 || (x - y + kHatchPeriod * height_) % kHatchPeriod == 0) Row(y)[x] = value;
      }
    }
  }
  BltColorFill(Rect{box.left, box.top, box.right, box.top + 1}, foreColour_);
  BltColorFill(Rect{box.left, box.bottom - 1, box.right, box.bottom}, foreColour_);
  BltColorFill(Rect{box.left, box.top, box.left + 1, box.bottom}, foreColour_);
  BltColorFill(Rect{box.right - 1, box.top, box.right, box.bottom}, foreColour_);
}

void Surface::DrawText(int32_t x, int32_t y, std::string_view text) {
  if (!Valid() || text.empty()) return;
  EnsureGuiApplication();
  QFont font(QString::fromStdString(font_.family));
  font.setPixelSize(std::max(font_.pixelSize, 1));
  font.setBold(font_.bold);
  font.setStyleStrategy(QFont::NoAntialias);
  const QString line = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
  QPainter painter(&image_);
  painter.setFont(font);
  const QFontMetrics metrics(font);
  if (!fontTransparent_) {
    painter.fillRect(QRect(x, y, metrics.horizontalAdvance(line), metrics.height()),
                     QColor::fromRgb(fontBackColour_ | kOpaque));
  }
  painter.setPen(QColor::fromRgb(foreColour_ | kOpaque));
  painter.drawText(QPoint(x, y + metrics.ascent()), line);
}

bool Surface::SavePng(const std::string& path) const {
  if (!Valid()) return false;
  namespace fs = std::filesystem;
  const fs::path target(path);
  fs::path temporary = target;
  temporary += ".tmp" + std::to_string(::getpid());
  if (!image_.save(QString::fromStdString(temporary.string()), "PNG")) {
    std::error_code ec;
    fs::remove(temporary, ec);
    return false;
  }
  std::error_code renameError;
  fs::rename(temporary, target, renameError);
  if (!renameError) return true;
  std::error_code ignored;
  fs::remove(temporary, ignored);
  return false;
}

std::unique_ptr<Surface> SurfaceMemory::Create(int32_t width, int32_t height) {
  if (width <= 0 || height <= 0) return nullptr;
  if (!Fits(int64_t{width} * height * kSurfaceBytesPerPixel)) return nullptr;
  auto surface = std::make_unique<Surface>(width, height);
  if (!surface->Valid()) return nullptr;
  surface->memory_ = this;
  held_ += surface->Bytes();
  return surface;
}

std::unique_ptr<Surface> SurfaceMemory::Adopt(QImage image) {
  if (image.isNull()) return nullptr;
  if (!Fits(int64_t{image.width()} * image.height() * kSurfaceBytesPerPixel)) return nullptr;
  auto surface = std::make_unique<Surface>(std::move(image));
  if (!surface->Valid()) return nullptr;
  surface->memory_ = this;
  held_ += surface->Bytes();
  return surface;
}

}  // namespace vremo
