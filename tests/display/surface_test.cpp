// Surfaces: keyed and stretched copies, clipping, lines, boxes, text, memory
// accounting and the atomic PNG writer.
#include "display/surface.h"

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
  // (2, 1): the black source pixel was skipped.
  EXPECT_EQ(Pixels(dest, {{1, 1}, {2, 1}, {3, 1}, {4, 2}, {5, 1}}),
            (std::vector<Colour>{kRed, kGrey, kGreen, kGreen, kGrey}));
  dest.BltFast(1, 1, *source, source->FullRect(), ColourKey::kNone);
  EXPECT_EQ(dest.Pixel(2, 1), kBlack);
  // Partly outside on every edge: the part inside is copied.
  dest.BltColorFill(dest.FullRect(), kGrey);
  dest.BltFast(-3, -1, *source, source->FullRect(), ColourKey::kNone);
  dest.BltFast(4, 3, *source, Rect{-1, 0, 9, 9}, ColourKey::kNone);
  dest.BltFast(100, 100, *source, source->FullRect(), ColourKey::kNone);
  dest.BltFast(0, 0, *source, Rect{3, 0, 1, 2}, ColourKey::kNone);
  // (0, 0) is source (3, 1).
  EXPECT_EQ(Pixels(dest, {{0, 0}, {1, 0}, {5, 3}, {4, 3}, {1, 1}}),
            (std::vector<Colour>{kGreen, kGrey, kRed, kGrey, kGrey}));
}

TEST(SurfaceTest, StretchedCopiesTakeTheNearestPixel) {
  const auto source = Source();
  Surface dest(8, 4);
  dest.BltColorFill(dest.FullRect(), kGrey);
  dest.Blt(dest.FullRect(), *source, source->FullRect(), ColourKey::kSource);
  EXPECT_EQ(Pixels(dest, {{0, 0}, {1, 1}, {2, 0}, {4, 1}, {7, 0}, {3, 3}}),
            (std::vector<Colour>{kRed, kRed, kGrey, kGreen, kRed, kGreen}));
  // Shrinking, and stretching a surface onto itself.
  Surface small(2, 1);
  small.Blt(small.FullRect(), *source, Rect{0, 0, 4, 1}, ColourKey::kNone);
  EXPECT_EQ(Pixels(small, {{0, 0}, {1, 0}}), (std::vector<Colour>{kRed, kGreen}));
  dest.Blt(Rect{0, 0, 8, 4}, dest, Rect{4, 0, 8, 4}, ColourKey::kNone);
  EXPECT_EQ(Pixels(dest, {{0, 0}, {7, 0}, {7, 3}}), (std::vector<Colour>{kGreen, kRed, kGreen}));
  dest.Blt(Rect{5, 5, 2, 2}, *source, source->FullRect(), ColourKey::kNone);
}

TEST(SurfaceTest, LinesAndBoxesLandOnTheirPixels) {
  Surface surface(12, 12);
  surface.SetForeColor(kRed);
  surface.DrawLine(2, 0, 2, 5);
  surface.DrawLine(-100, 7, 100, 7);
  // The end point (2, 5) is left out.
  EXPECT_EQ(Pixels(surface, {{2, 0}, {2, 4}, {2, 5}, {0, 7}, {11, 7}}),
            (std::vector<Colour>{kRed, kRed, kBlack, kRed, kRed}));

  Surface box(12, 12);
  box.SetForeColor(kGrey);
  box.SetFillColor(kGreen);
  box.SetFillStyle(FillStyle::kSolid);
  box.DrawBox(1, 1, 5, 4);
  EXPECT_EQ(Pixels(box, {{1, 1}, {4, 3}, {2, 2}, {5, 2}}), (std::vector<Colour>{kGrey, kGrey, kGreen, kBlack}));
  box.SetFillStyle(FillStyle::kTransparent);
  box.DrawBox(6, 6, 11, 11);
  EXPECT_EQ(Pixels(box, {{8, 8}, {10, 10}}), (std::vector<Colour>{kBlack, kGrey}));
  box.SetFillStyle(FillStyle::kDiagonalCross);
  box.SetFillColor(kRed);
  box.DrawBox(0, 0, 12, 12);
  // (4, 4) is on both diagonals, (5, 3) on x + y = 8.
  EXPECT_EQ(Pixels(box, {{4, 4}, {5, 3}, {5, 4}}), (std::vector<Colour>{kRed, kRed, kBlack}));
}

TEST(SurfaceTest, TextUsesTheForeAndBackColours) {
  EnsureGuiApplication();
  Surface surface(120, 20);
  surface.SetForeColor(kRed);
  surface.SetFontBackColor(kGreen);
  surface.DrawText(2, 2, "fGreat 100%");
  EXPECT_GT(CountPixels(surface, kRed, 120, 20), 20);
  EXPECT_GT(CountPixels(surface, kGreen, 120, 20), 100);
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
