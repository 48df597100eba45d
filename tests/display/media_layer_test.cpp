// The media layer: surfaces and their log lines, picture slots from real
// files (good, missing, damaged, enormous), and pictures through LoadChart.
#include "display/media_layer.h"

#include <QBuffer>

#include "chart/bms_reader.h"
#include "tests/display/graphics_fixture.h"

namespace vremo::testing {
namespace {

constexpr int64_t kSmallBudget = 4 * 1024 * 1024;

uint32_t Crc32(const std::string& bytes) {
  uint32_t crc = 0xFFFFFFFFu;
  for (unsigned char byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
  }
  return ~crc;
}

std::string BigEndian(uint32_t value) {
  return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
          static_cast<char>(value)};
}

// A PNG whose header announces width x height, with a valid checksum.
std::string PngHeader(uint32_t width, uint32_t height) {
  const std::string data = "IHDR" + BigEndian(width) + BigEndian(height) + std::string("\x08\x02\x00\x00\x00", 5);
  return std::string("\x89PNG\r\n\x1a\n", 8) + BigEndian(13) + data + BigEndian(Crc32(data));
}

std::string PictureBytes(const QImage& image, const char* format) {
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, format);
  return bytes.toStdString();
}

class MediaLayerTest : public ::testing::Test {
 protected:
  void SetUp() override { EnsureGuiApplication(); }

  TempFolder folder;
  MemoryLogSink sink;
  DebugLog log{&sink};
  MediaLayer media{log, nullptr, kSmallBudget};
};

TEST_F(MediaLayerTest, SurfacesAreMadeAndReleasedWithTheirLogLines) {
  media.display() = DisplaySize{false, 100, 50};
  media.CreateSurfaces(BgaBox{0, 0, 64, 64});
  EXPECT_TRUE(sink.lines.empty());
  EXPECT_EQ(media.back(), nullptr);

  media.InitDirectDraw();
  media.CreateSurfaces(BgaBox{0, 0, 300, 64});
  const int64_t held = (300 * 256 + 100 * 50 + 256 * 273) * 4;
  EXPECT_EQ(sink.lines, (std::vector<std::string>{"initializing directdraw...",
                                                  "  * VRAM available total: 4194304bytes", "  releasing surfaces...",
                                                  "  done. VRAM 4194304bytes free", "  creating surfaces...",
                                                  "  * VRAM free: " + std::to_string(kSmallBudget - held) + "bytes"}));
  EXPECT_EQ(media.FreeVideoMemory(), kSmallBudget - held);
  EXPECT_EQ(media.bgaRect(), (Rect{0, 0, 300, 64}));
  EXPECT_EQ(media.back()->width(), 100);
  EXPECT_EQ(media.back()->foreColor(), kBackForeColour);
  EXPECT_EQ(media.back()->fontBackColor(), kBackSecondColour);
  ASSERT_NE(media.soundPanel(), nullptr);
  EXPECT_EQ(media.soundPanel()->width(), kSoundPanelWidth);
  EXPECT_EQ(media.soundPanel()->height(), kSoundPanelHeight);
  // The label "FF" of the last cell: the top row of an F is full.
  EXPECT_EQ(Pixels(*media.soundPanel(), {{240 + 1, 240 + 1}, {240 + 7, 240 + 1}}), Each(2, kSoundPanelLabelColour));

  // Full screen takes 640 x 480 whatever the window was.
  media.SetFullScreenSize();
  media.CreateSurfaces(BgaBox{});
  EXPECT_EQ(media.back()->width(), kFullScreenWidth);
  EXPECT_EQ(media.back()->height(), kFullScreenHeight);

  sink.lines.clear();
  media.ReleaseMemories();
  EXPECT_EQ(sink.lines, std::vector<std::string>{"releasing memories..."});
  EXPECT_EQ(media.back(), nullptr);
  EXPECT_EQ(media.soundPanel(), nullptr);
  EXPECT_EQ(media.memory().Held(), 0);
  EXPECT_FALSE(media.DirectDrawExists());
}

TEST_F(MediaLayerTest, PictureSlotsReadEveryFormatAndMeasureOnlyWhenAsked) {
  const std::string png = folder.Write("a.png", PictureBytes(Filled(32, 16, QColor(10, 20, 30)), "PNG"));
  const std::string jpg = folder.Write("b.jpg", PictureBytes(Filled(24, 8, QColor(250, 250, 250)), "JPG"));
  // Qt writes no GIF: one red pixel, by hand.
  static constexpr char kRedPixelGif[] =
      "GIF89a\x01\x00\x01\x00\x80\x00\x00\xff\x00\x00\x00\x00\x00"
      "\x2c\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00\x3b";
  const std::string gif = folder.Write("c.gif", std::string(kRedPixelGif, sizeof kRedPixelGif - 1));
  folder.Write("d.png", PictureBytes(Filled(12, 6, QColor(0, 0, 255)), "BMP"));  // a BMP by another name
  PictureLoadResult result = media.LoadPicture(1, png, true);
  EXPECT_TRUE(result.loaded);
  EXPECT_EQ(result.width, 32);
  EXPECT_EQ(result.height, 16);
  EXPECT_EQ(media.pictures().Picture(1)->Pixel(31, 15), Rgb(10, 20, 30));
  EXPECT_EQ(media.LoadPicture(2, jpg, true).width, 24);
  EXPECT_EQ(media.LoadPicture(3, gif, true).height, 1);
  EXPECT_EQ(media.pictures().Picture(3)->Pixel(0, 0), Rgb(255, 0, 0));
  // Named .bmp, shipped as .png (and holding a BMP): found and read.
  result = media.LoadPicture(0xFF, folder.Path("D.bmp"), false);
  EXPECT_TRUE(result.loaded);
  EXPECT_EQ(result.width, 0);
  EXPECT_EQ(media.pictures().Picture(0xFF)->width(), 12);
  EXPECT_EQ(media.pictures().Picture(0xFF)->colourKey(), kBlack);
  EXPECT_EQ(media.memory().Held(), (32 * 16 + 24 * 8 + 1 + 12 * 6) * 4);
  EXPECT_EQ(media.pictures().Picture(256), nullptr);

  media.PrepareSurfaces();
  EXPECT_FALSE(media.pictures().AnyLoaded());
  EXPECT_EQ(media.memory().Held(), 0);

  const std::string path = folder.Write("song.bms",
                                        "#BMP02 d.bmp\r\n#BMP01 a.png\r\n#BMP03 d.bmp\r\n#BMP04 missing.png\r\n"
                                        "#BPM 120\r\n#00111:01\r\n");
  auto chart = std::make_unique<Chart>();
  LoadContext context{log, media, LoadOptions{}, {}};
  ASSERT_EQ(LoadChart(path, *chart, context), kLoadOk);
  // A BMP name is not measured: it takes the size last measured, or none.
  EXPECT_EQ(chart->pictureRect[2].width, 0);
  EXPECT_EQ(chart->pictureRect[1].width, 32);
  EXPECT_EQ(chart->pictureRect[3].height, 16);
  EXPECT_EQ(media.pictures().Picture(3)->width(), 12);
  EXPECT_EQ(media.pictures().Picture(4), nullptr);

  context.options.noBga = true;
  ASSERT_EQ(LoadChart(path, *chart, context), kLoadOk);
  EXPECT_FALSE(media.pictures().AnyLoaded());
}

TEST_F(MediaLayerTest, BadPicturesLeaveTheSlotEmpty) {
  const std::string good = PictureBytes(Filled(40, 40, QColor(1, 2, 3)), "PNG");
  std::string corrupt = good;
  for (size_t i = 40; i < corrupt.size(); ++i) corrupt[i] = static_cast<char>(i * 7);
  // A BMP header of 100000 x 100000 pixels, 24 bits, pixels at 54.
  const std::string bmp =
      std::string("BM\0\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\xA0\x86\x01\0\xA0\x86\x01\0\x01\0\x18\0", 30) +
      std::string(24, '\0');
  const std::vector<std::pair<std::string, std::string>> files = {
      {"corrupt.png", corrupt},
      {"huge.png", PngHeader(100000, 100000) + std::string(64, '\0')},
      {"huge.bmp", bmp},
      {"empty.png", ""},
      {"text.png", "this is not a picture"},
      {"big.png", PictureBytes(Filled(1100, 1000, QColor(9, 9, 9)), "PNG")},  // 4.4 MB > the budget
  };
  ASSERT_TRUE(media.LoadPicture(7, folder.Write("good.png", good), true).loaded);
  for (const auto& [name, bytes] : files) {
    EXPECT_FALSE(media.LoadPicture(7, folder.Write(name, bytes), true).loaded) << name;
    EXPECT_EQ(media.pictures().Picture(7), nullptr) << name;
    EXPECT_EQ(media.memory().Held(), 0) << name;
  }
  EXPECT_FALSE(media.LoadPicture(7, folder.Path("missing.png"), true).loaded);
  EXPECT_TRUE(sink.lines.empty());
}

}  // namespace
}  // namespace vremo::testing
