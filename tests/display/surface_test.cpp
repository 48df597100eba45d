// Surfaces: keyed and stretched copies, clipping, lines, boxes, text, memory
// accounting and the atomic PNG writer.
#include "display/surface.h"

#include <QImageReader>

#include "tests/display/graphics_fixture.h"

namespace vremo::testing {
namespace {

constexpr Colour kRed = Rgb(255, 0, 0);
constexpr Colour kGreen = Rgb(0, 255, 0);
constexpr Colour kGrey = Rgb(128, 128, 128);

// A 4 x 2 source: red, black (the key), green, red / all green.
std::unique_ptr<Surface> Source() {
  auto source = std::make_unique<Surface>(4, 2);
  source->BltColorFill(Rect{0, 0, 1, 1}, kRed);
  source->BltColorFill(Rect{2, 0, 3, 1}, kGreen);
  source->BltColorFill(Rect{3, 0, 4, 1}, kRed);
  source->BltColorFill(Rect{0, 1, 4, 2}, kGreen);
  return source;
}

TEST(SurfaceTest, FastCopiesSkipTheKeyAndClip) {
  const auto source = Source();
  Surface dest(6, 4);
  dest.BltColorFill(dest.FullRect(), kGrey);
  dest.BltFast(1, 1, *source, source->FullRect(), ColourKey::kSource);
  EXPECT_EQ(dest.Pixel(1, 1), kRed);
  EXPECT_EQ(dest.Pixel(2, 1), kGrey);  // the black source pixel was skipped
  EXPECT_EQ(dest.Pixel(3, 1), kGreen);
  EXPECT_EQ(dest.Pixel(4, 2), kGreen);
  EXPECT_EQ(dest.Pixel(5, 1), kGrey);
  dest.BltFast(1, 1, *source, source->FullRect(), ColourKey::kNone);
  EXPECT_EQ(dest.Pixel(2, 1), kBlack);
  // Partly outside on every edge: the part inside is copied.
  dest.BltColorFill(dest.FullRect(), kGrey);
  dest.BltFast(-3, -1, *source, source->FullRect(), ColourKey::kNone);
  EXPECT_EQ(dest.Pixel(0, 0), kGreen);  // source (3, 1)
  EXPECT_EQ(dest.Pixel(1, 0), kGrey);
  dest.BltFast(4, 3, *source, Rect{-1, 0, 9, 9}, ColourKey::kNone);
  EXPECT_EQ(dest.Pixel(5, 3), kRed);
  EXPECT_EQ(dest.Pixel(4, 3), kGrey);
  dest.BltFast(100, 100, *source, source->FullRect(), ColourKey::kNone);
  dest.BltFast(0, 0, *source, Rect{3, 0, 1, 2}, ColourKey::kNone);
  EXPECT_EQ(dest.Pixel(1, 1), kGrey);
}

TEST(SurfaceTest, StretchedCopiesTakeTheNearestPixel) {
  const auto source = Source();
  Surface dest(8, 4);
  dest.BltColorFill(dest.FullRect(), kGrey);
  dest.Blt(dest.FullRect(), *source, source->FullRect(), ColourKey::kSource);
  EXPECT_EQ(dest.Pixel(0, 0), kRed);
  EXPECT_EQ(dest.Pixel(1, 1), kRed);
  EXPECT_EQ(dest.Pixel(2, 0), kGrey);
  EXPECT_EQ(dest.Pixel(4, 1), kGreen);
  EXPECT_EQ(dest.Pixel(7, 0), kRed);
  EXPECT_EQ(dest.Pixel(3, 3), kGreen);
  // Shrinking, and stretching a surface onto itself.
  Surface small(2, 1);
  small.Blt(small.FullRect(), *source, Rect{0, 0, 4, 1}, ColourKey::kNone);
  EXPECT_EQ(small.Pixel(0, 0), kRed);
  EXPECT_EQ(small.Pixel(1, 0), kGreen);
  dest.Blt(Rect{0, 0, 8, 4}, dest, Rect{4, 0, 8, 4}, ColourKey::kNone);
  EXPECT_EQ(dest.Pixel(0, 0), kGreen);
  EXPECT_EQ(dest.Pixel(7, 0), kRed);
  EXPECT_EQ(dest.Pixel(7, 3), kGreen);
  dest.Blt(Rect{5, 5, 2, 2}, *source, source->FullRect(), ColourKey::kNone);
}

TEST(SurfaceTest, LinesAndBoxesLandOnTheirPixels) {
  Surface surface(12, 12);
  surface.SetForeColor(kRed);
  surface.DrawLine(2, 0, 2, 5);
  EXPECT_EQ(surface.Pixel(2, 0), kRed);
  EXPECT_EQ(surface.Pixel(2, 4), kRed);
  EXPECT_EQ(surface.Pixel(2, 5), kBlack);  // the end point is left out
  surface.DrawLine(-100, 7, 100, 7);
  EXPECT_EQ(surface.Pixel(0, 7), kRed);
  EXPECT_EQ(surface.Pixel(11, 7), kRed);

  Surface box(12, 12);
  box.SetForeColor(kGrey);
  box.SetFillColor(kGreen);
  box.SetFillStyle(FillStyle::kSolid);
  box.DrawBox(1, 1, 5, 4);
  EXPECT_EQ(box.Pixel(1, 1), kGrey);
  EXPECT_EQ(box.Pixel(4, 3), kGrey);
  EXPECT_EQ(box.Pixel(2, 2), kGreen);
  EXPECT_EQ(box.Pixel(5, 2), kBlack);
  box.SetFillStyle(FillStyle::kTransparent);
  box.DrawBox(6, 6, 11, 11);
  EXPECT_EQ(box.Pixel(8, 8), kBlack);
  EXPECT_EQ(box.Pixel(10, 10), kGrey);
  box.SetFillStyle(FillStyle::kDiagonalCross);
  box.SetFillColor(kRed);
  box.DrawBox(0, 0, 12, 12);
  EXPECT_EQ(box.Pixel(4, 4), kRed);  // on both diagonals
  EXPECT_EQ(box.Pixel(5, 3), kRed);  // x + y = 8
  EXPECT_EQ(box.Pixel(5, 4), kBlack);
}

TEST(SurfaceTest, TextUsesTheForeAndBackColours) {
  EnsureGuiApplication();
  Surface surface(120, 20);
  surface.SetForeColor(kRed);
  surface.SetFontBackColor(kGreen);
  surface.DrawText(2, 2, "fGreat 100%");
  int red = 0;
  int green = 0;
  for (int32_t y = 0; y < 20; ++y) {
    for (int32_t x = 0; x < 120; ++x) {
      red += surface.Pixel(x, y) == kRed ? 1 : 0;
      green += surface.Pixel(x, y) == kGreen ? 1 : 0;
    }
  }
  EXPECT_GT(red, 20);
  EXPECT_GT(green, 100);
  EXPECT_EQ(surface.Pixel(0, 0), kBlack);
  EXPECT_EQ(surface.Pixel(119, 19), kBlack);
}

TEST(SurfaceTest, MemoryIsCountedAgainstTheBudget) {
  SurfaceMemory memory(1000);
  auto first = memory.Create(10, 10);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(memory.Held(), 400);
  EXPECT_EQ(memory.Free(), 600);
  EXPECT_EQ(memory.Create(13, 13), nullptr);  // 676 bytes do not fit
  EXPECT_EQ(memory.Create(0, 5), nullptr);
  EXPECT_EQ(memory.Create(-1, 5), nullptr);
  EXPECT_EQ(memory.Adopt(QImage()), nullptr);
  first.reset();
  EXPECT_EQ(memory.Held(), 0);
  EXPECT_NE(memory.Create(15, 15), nullptr);
  EXPECT_EQ(memory.Held(), 0);  // the temporary surface is gone again
}

TEST(SurfaceTest, PngIsWrittenWholeOrNotAtAll) {
  TempFolder folder;
  Surface surface(3, 2);
  surface.BltColorFill(Rect{2, 1, 3, 2}, kGreen);
  const std::string path = folder.Write("frame.png", "old contents");
  ASSERT_TRUE(surface.SavePng(path));
  QImage written(QString::fromStdString(path));
  ASSERT_EQ(written.size(), QSize(3, 2));
  EXPECT_EQ(written.pixel(2, 1) & 0xFFFFFFu, kGreen);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);

  // A folder in the way: nothing is written, nothing is left behind.
  std::filesystem::create_directories(folder.Path("taken.png"));
  EXPECT_FALSE(surface.SavePng(folder.Path("taken.png")));
  EXPECT_FALSE(surface.SavePng(folder.Path("no/such/folder/frame.png")));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2);
  EXPECT_TRUE(std::filesystem::is_directory(folder.Path("taken.png")));
}

}  // namespace
}  // namespace vremo::testing
