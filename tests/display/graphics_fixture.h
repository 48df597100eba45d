#pragma once
// Test media for the drawing tests: temporary folders, pictures written with
// QImage, a small skin of plain coloured blocks whose positions can be read
// back from rendered frames, and a play engine over a hand-filled chart.

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "display/frame_renderer.h"
#include "display/layout.h"
#include "display/media_layer.h"
#include "play/headless_play.h"

#include "tests/support/temp_folder.h"

namespace vremo::testing {

inline QColor ToQColor(Colour colour) { return QColor::fromRgb(colour); }

inline QImage Filled(int width, int height, QColor colour) {
  QImage image(width, height, QImage::Format_RGB32);
  image.fill(colour);
  return image;
}

inline std::vector<Colour> Pixels(const Surface& surface, std::initializer_list<std::pair<int32_t, int32_t>> points) {
  std::vector<Colour> colours;
  for (const auto& [x, y] : points) colours.push_back(surface.Pixel(x, y));
  return colours;
}
inline std::vector<Colour> Each(size_t count, Colour colour) { return std::vector<Colour>(count, colour); }

// Pixels of `colour` in the top left width x height of `surface`.
inline int CountPixels(const Surface& surface, Colour colour, int32_t width, int32_t height) {
  int pixels = 0;
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) pixels += surface.Pixel(x, y) == colour ? 1 : 0;
  }
  return pixels;
}

// Plain colours of the test skin; none is black, so all of them show.
inline constexpr Colour kNoteRed = Rgb(200, 0, 0);
inline constexpr Colour kBarGreen = Rgb(0, 200, 0);
inline constexpr Colour kFreeBlue = Rgb(0, 0, 200);
inline constexpr Colour kWideOrange = Rgb(250, 130, 0);
inline constexpr Colour kGaugeEmpty = Rgb(40, 40, 40);
inline constexpr Colour kGaugeFull = Rgb(0, 255, 255);
inline constexpr Colour kGreatYellow = Rgb(255, 255, 0);
inline constexpr Colour kFGreatFrame0 = Rgb(255, 0, 128);
inline constexpr Colour kFGreatFrame1 = Rgb(128, 0, 255);
inline constexpr Colour kFontZero = Rgb(10, 20, 30);
inline constexpr Colour kFontFive = Rgb(60, 70, 80);
inline constexpr Colour kFontPercent = Rgb(90, 100, 110);
inline Colour DigitColour(int digit) { return Rgb(100 + static_cast<uint32_t>(digit) * 10, 50, 50); }

// Note images: 1 red 10 x 4, 2 green bar line 120 x 1, 3 blue 10 x 4,
// 4 orange 30 x 4. Judgements: Great 20 x 8 yellow; fGreat two frames.
// Digits 6 x 8. Gauge strips and three font cells where the layout rules
// expect them.
inline QImage TestSkin() {
  QImage skin = Filled(128, 160, Qt::black);
  QPainter painter(&skin);
  painter.fillRect(QRect(0, 0, 10, 4), ToQColor(kNoteRed));
  painter.fillRect(QRect(0, 10, 120, 1), ToQColor(kBarGreen));
  painter.fillRect(QRect(0, 20, 10, 4), ToQColor(kFreeBlue));
  painter.fillRect(QRect(20, 20, 30, 4), ToQColor(kWideOrange));
  painter.fillRect(QRect(0, 30, 20, 8), ToQColor(kGreatYellow));
  painter.fillRect(QRect(30, 30, 20, 8), ToQColor(kFGreatFrame0));
  painter.fillRect(QRect(30, 38, 20, 8), ToQColor(kFGreatFrame1));
  for (int digit = 0; digit < 10; ++digit) painter.fillRect(QRect(digit * 6, 50, 6, 8), ToQColor(DigitColour(digit)));
  for (const auto& [strip, colour] : {std::pair{kGaugeStripEmpty, kGaugeEmpty}, std::pair{kGaugeStripFull, kGaugeFull}})
    painter.fillRect(QRect(strip.left, strip.top, strip.Width(), strip.Height()), ToQColor(colour));
  painter.fillRect(QRect(45, 122, 3, 5), ToQColor(kFontZero));     // '0'
  painter.fillRect(QRect(60, 122, 3, 5), ToQColor(kFontFive));     // '5'
  painter.fillRect(QRect(12, 122, 3, 5), ToQColor(kFontPercent));  // '%'
  return skin;
}

// Side 1 only: lane 11 red at x 0, lane 12 orange (wide) at x 40, lane 17
// blue at x 80, the bar line 120 wide from x 0.
inline std::string TestLayoutText() {
  std::string text;
  for (const char* line : {"#FILE skin.png", "#OBJ01 0,0,10,4", "#OBJ02 0,10,120,1", "#OBJ03 0,20,10,4",
                           "#OBJ04 20,20,30,4", "#KEY10 02,0,0", "#KEY11 01,0,0", "#KEY12 04,40,0", "#KEY17 03,80,0",
                           "#GREAT 0,30,20,8", "#FGREAT 30,30,20,8,2", "#NUM 0,50,6,8", "#BGA 0,0,256,256"}) {
    text += std::string(line) + "\r\n";
  }
  return text;
}

// A 200 x 480 drawing area with the test layout, a chart filled by hand
// (side 1 used) and a renderer over a play engine on a virtual clock.
class RenderFixture : public ::testing::Test {
 protected:
  static constexpr int32_t kWidth = 200;
  static constexpr int32_t kHeight = 480;

  void SetUp() override {
    EnsureGuiApplication();
    ASSERT_TRUE(TestSkin().save(QString::fromStdString(folder.Path("skin.png"))));
    layoutPath = folder.Write("test.vrd", TestLayoutText());
    chart->sideUsed = {kTrue16, 0};
    chart->sidePlayer = {0, 1};
    chart->gaugePerNote = {1.0f, 1.0f};
    chart->pointsPerNote = {100.0, 100.0};
    settings.showGauge = false;  // tests that read the gauge switch it on
    media.display() = DisplaySize{false, kWidth, kHeight};
    media.InitDirectDraw();
    LoadRect(layoutPath, layout, layoutContext);
    media.CreateSurfaces(layout.bga);
    engine.SetFrameDrawer(&renderer);
  }

  void Add(int32_t y, int32_t channel, int32_t value = 1) {
    ChartObject& object = chart->objects[static_cast<size_t>(chart->objectCount++)];
    object = ChartObject{};
    object.y = y;
    object.channel = channel;
    object.value = value;
  }
  void Add(std::initializer_list<std::pair<int32_t, int32_t>> notes) {
    for (const auto& [y, channel] : notes) Add(y, channel);
  }
  // Draws the frame at `cur` with every object visible.
  void DrawAt(double cur) {
    engine.state().currentPosition = cur;
    renderer.DrawFrame(0);
  }
  Colour At(int32_t x, int32_t y) const { return media.back()->Pixel(x, y); }
  std::vector<Colour> At(std::initializer_list<std::pair<int32_t, int32_t>> points) const {
    return Pixels(*media.back(), points);
  }
  // The rows of column x that have `colour`, top to bottom.
  std::vector<int32_t> RowsOf(int32_t x, Colour colour) const {
    std::vector<int32_t> rows;
    for (int32_t y = 0; y < kHeight; ++y) {
      if (At(x, y) == colour) rows.push_back(y);
    }
    return rows;
  }
  static std::vector<int32_t> Span(int32_t first, int32_t last) {
    std::vector<int32_t> rows;
    for (int32_t y = first; y <= last; ++y) rows.push_back(y);
    return rows;
  }

  TempFolder folder;
  std::string layoutPath;
  MemoryLogSink sink;
  DebugLog log{&sink};
  MediaLayer media{log};
  Layout layout;
  LayoutContext layoutContext{log, media, {true, false}, {}};
  std::unique_ptr<Chart> chart = std::make_unique<Chart>();
  Settings settings;
  VirtualClock clock{100000};
  SilentSoundBank sounds;
  PlayHost host;
  PlayEngine engine{*chart, settings, sounds, clock, log, host};
  FrameRenderer renderer{engine, media, layout, sounds};
};

}  // namespace vremo::testing
