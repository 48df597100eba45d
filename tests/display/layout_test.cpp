// LoadRect: keys, columns and rounding, the built parts, bad files; and
// DispResize.
#include "display/layout.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "display/display_size.h"
#include "tests/display/graphics_fixture.h"

namespace vremo::testing {
namespace {

class LayoutTest : public ::testing::Test {
 protected:
  void SetUp() override {
    EnsureGuiApplication();
    media.display() = DisplaySize{false, 200, 100};
    media.InitDirectDraw();
    sink.lines.clear();
  }
  void Load(const std::string& text, const std::string& name = "layout.vrd") {
    LoadRect(folder.Write(name, text), layout, context);
  }
  Colour Guide(int32_t x, int32_t y) const { return media.guide()->Pixel(x, y); }
  std::array<int32_t, 3> Lane(int index) const {
    const LaneEntry& lane = layout.lanes[static_cast<size_t>(index)];
    return {lane.image, lane.x, lane.style};
  }

  TempFolder folder;
  MemoryLogSink sink;
  DebugLog log{&sink};
  MediaLayer media{log};
  Layout layout;
  LayoutContext context{log, media, {true, true}, {}};
};

TEST_F(LayoutTest, ReadsEveryKeyWhateverItsCaseAndFixedParts) {
  Load(
      "#bga 1,2,3,4\r\n#Key11 5,40,1\r\n#obj05 10,20,30,8\r\n#POOR 1,2,3,4\r\n#bad 5,6,7,8\r\n"
      "#GOOD 9,10,11,12\r\n#GREAT 13,14,15,16\r\n#FGREAT 100,50,40,10,3\r\n#NUM 0,50,6.5,8\r\n");
  EXPECT_EQ(sink.lines, (std::vector<std::string>{"LoadRect -----", "  Loading rectfile...", "  Setting fonts...",
                                                  "  Making VLine...", "loadrect complete."}));
  EXPECT_TRUE(layout.bgaShown);
  EXPECT_EQ(layout.bga.x, 1);
  EXPECT_EQ(layout.bga.height, 4);
  EXPECT_EQ(Lane(11), (std::array{5, 40, 1}));
  EXPECT_EQ(layout.images[5].source, (Rect{10, 20, 40, 28}));
  EXPECT_EQ(layout.images[5].offsetY, -8);
  EXPECT_EQ(layout.images[5].width, 30);
  EXPECT_EQ(layout.judgements[0].source, (Rect{1, 2, 4, 6}));
  EXPECT_EQ(layout.judgements[1].source, (Rect{5, 6, 12, 14}));
  EXPECT_EQ(layout.judgements[2].height, 12);
  EXPECT_EQ(layout.judgements[3].source, (Rect{13, 14, 28, 30}));
  EXPECT_EQ(layout.judgements[4].width, 40);
  // fGreat frames are stacked downwards.
  EXPECT_EQ(layout.fGreatFrames, (std::vector<Rect>{{100, 50, 140, 60}, {100, 60, 140, 70}, {100, 70, 140, 80}}));
  // Digits side by side, left edges rounded halves to even: 6.5 -> 6, 19.5 -> 20.
  EXPECT_EQ(layout.digits[1], (Rect{6, 50, 12, 58}));
  EXPECT_EQ(layout.digits[3], (Rect{20, 50, 26, 58}));
  EXPECT_EQ(layout.digitWidth, 6);

  Load("#FGREAT 0,0,10,10,0\r\n");
  EXPECT_TRUE(layout.fGreatFrames.empty());
  EXPECT_FALSE(layout.bgaShown);
  // The font table and gauge strips are fixed.
  EXPECT_EQ(*layout.Glyph('!'), (Rect{0, 122, 3, 127}));
  EXPECT_EQ(*layout.Glyph('0'), (Rect{45, 122, 48, 127}));
  EXPECT_EQ(*layout.Glyph('A'), (Rect{0, 127, 3, 132}));
  // Multiples of 32 sit one cell left of their row.
  EXPECT_EQ(*layout.Glyph(64), (Rect{-3, 127, 0, 132}));
  EXPECT_EQ(*layout.Glyph(128), (Rect{-3, 137, 0, 142}));
  EXPECT_EQ(layout.Glyph(' '), nullptr);
  EXPECT_EQ(layout.gaugeStrips[0], (Rect{0, 102, 99, 111}));
  EXPECT_EQ(layout.gaugeStrips[1], (Rect{0, 112, 99, 121}));
}

// Long-note and mine pictures are named per note image; a layout without
// them (every older one) leaves the renderer its own drawing.
TEST_F(LayoutTest, ModernPicturesAreOptionalKeysPerNoteImage) {
  const std::string lanes = "#OBJ01 0,0,10,4\r\n#OBJ02 0,8,16,4\r\n#KEY11 01,20,3\r\n#KEY12 02,30,3\r\n";
  Load(lanes);
  EXPECT_EQ(sink.lines.back(), "loadrect complete.");
  for (const auto* table :
       {&layout.modern.longHeads, &layout.modern.longBodies, &layout.modern.longTails, &layout.modern.mines}) {
    EXPECT_EQ(layout.NamedOfLane(*table, 11), nullptr);
  }
  Load(lanes + "#LNH01 40,0,10,4\r\n#lnb01 52,0,10,1\r\n#LNT01 64,0,10,4\r\n#Min02 80,0,16,6\r\n");
  EXPECT_EQ(sink.lines.back(), "loadrect complete.");
  EXPECT_EQ(layout.NamedOfLane(layout.modern.longHeads, 11)->source, (Rect{40, 0, 50, 4}));
  EXPECT_EQ(layout.NamedOfLane(layout.modern.longBodies, 11)->source, (Rect{52, 0, 62, 1}));
  EXPECT_EQ(layout.NamedOfLane(layout.modern.longTails, 11)->offsetY, -4);
  const NoteImage* mine = layout.NamedOfLane(layout.modern.mines, 12);
  ASSERT_NE(mine, nullptr);
  EXPECT_EQ((std::array{mine->source.left, mine->width, mine->height, mine->offsetY}), (std::array{80, 16, 6, -6}));
  EXPECT_EQ(layout.NamedOfLane(layout.modern.mines, 11), nullptr);
  EXPECT_EQ(layout.NamedOfLane(layout.modern.longHeads, 12), nullptr);
}

TEST_F(LayoutTest, GuideStylesAndTheRedFootOfLaneEleven) {
  Load("#OBJ01 0,0,10,4\r\n#OBJ02 0,0,30,10\r\n#KEY11 01,20,1\r\n#KEY12 01,50,2\r\n#KEY21 02,100,3\r\n");
  ASSERT_NE(media.guide(), nullptr);
  EXPECT_EQ(media.guide()->width(), 200);
  EXPECT_EQ(media.guide()->height(), 100);
  // Style 1: the column left of the lane; style 2: the lane's last column.
  EXPECT_EQ(Pixels(*media.guide(), {{19, 0}, {19, 99}, {20, 50}, {59, 50}}),
            (std::vector<Colour>{kGuideLineColour, kGuideLineColour, kBlack, kGuideLineColour}));
  // Style 3 on side 2: outline, hatch where x + y is a multiple of 8, and a
  // red foot as high as lane 11's note (4), not its own (10).
  EXPECT_EQ(Pixels(*media.guide(), {{100, 50}, {129, 50}, {104, 0}}), Each(3, kGuideLineColour));
  EXPECT_EQ(Pixels(*media.guide(), {{104, 8}, {105, 8}, {105, 95}}),
            (std::vector<Colour>{kGuideHatchColour, kBlack, kGuideHatchColour}));
  EXPECT_EQ(Pixels(*media.guide(), {{105, 96}, {110, 99}, {128, 97}}), Each(3, kGuideFootColour));
  EXPECT_NE(Guide(129, 97), kGuideFootColour);

  // A side that is off gets no lines.
  context.sides = {false, true};
  Load("#OBJ01 0,0,10,4\r\n#KEY11 01,20,1\r\n");
  EXPECT_EQ(Guide(19, 0), kBlack);
}

TEST_F(LayoutTest, SkinFileIsFoundBesideTheLayout) {
  std::filesystem::create_directories(folder.Path("skins"));
  ASSERT_TRUE(Filled(32, 16, QColor(1, 2, 3)).save(QString::fromStdString(folder.Path("skins/Skin.PNG"))));
  const std::string elsewhere = folder.Path("elsewhere");
  std::filesystem::create_directories(elsewhere);
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(elsewhere);
  Load("#FILE skin.bmp\r\n", "skins/layout.vrd");
  std::filesystem::current_path(before);
  ASSERT_NE(media.skin(), nullptr);
  EXPECT_EQ(media.skin()->width(), 32);
  EXPECT_EQ(media.skin()->Pixel(0, 0), Rgb(1, 2, 3));

  Load("#FILE missing.png\r\n", "skins/layout.vrd");
  EXPECT_EQ(media.skin(), nullptr);
}

TEST_F(LayoutTest, KeptValuesMissingFilesAndFilesWithoutLines) {
  Load("#BGA 1,2,3,4\r\n#KEY11 01,20,1\r\n#OBJ01 0,0,10,4\r\n");
  media.SetGuide(nullptr);
  Load("just text\r\nno keys here\r\n #BGA 9,9,9,9\r\n");
  EXPECT_FALSE(layout.bgaShown);
  EXPECT_EQ(layout.bga.x, 1);
  EXPECT_EQ(layout.lanes[11].x, 20);
  EXPECT_NE(media.guide(), nullptr);
  EXPECT_EQ(Guide(19, 0), kGuideLineColour);
  EXPECT_EQ(layout.gaugeStrips[1], (Rect{0, 112, 99, 121}));

  // A missing file, a FIFO or an endless device is refused at once and the
  // layout kept.
  const std::string fifo = folder.Path("fifo.vrd");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  for (const auto& [path, error] :
       {std::pair{folder.Path("nothing.vrd"), "Err[not exist] :nothing.vrd"},
        std::pair{fifo, "Err[not a file] :fifo.vrd"}, std::pair{std::string("/dev/zero"), "Err[not a file] :zero"}}) {
    sink.lines.clear();
    LoadRect(path, layout, context);
    EXPECT_EQ(sink.lines, (std::vector<std::string>{"LoadRect -----", error}));
    EXPECT_EQ(layout.lanes[11].x, 20);
    EXPECT_FALSE(layout.loading);
  }
}

TEST_F(LayoutTest, GarbageNumbersAndHugeLinesAreSkipped) {
  Load("#KEY11 01,20,1\r\n#OBJ01 5,6,7,8\r\n#FGREAT 0,0,1,1,2\r\n");
  std::string huge = "#BGA ";
  huge.append(1 << 20, '9');
  Load(huge + "\r\n" + std::string(1 << 20, ',') +
       "\r\n#BGA abc,12x,,-5\r\n#KEY11 01,20,99999999\r\n#KEY1  3,4,5\r\n#KEY-5 3,4,5\r\n"
       "#OBJ01 99999999999,zz,7\r\n#KEY13 2000000,-2000000,3\r\n#FGREAT 0,0,10,10,5000\r\n#NUM\r\n#\r\n"
       "#KEY12 02,60,2");
  // Whatever does not convert leaves its field alone; a missing field is 0.
  EXPECT_EQ((std::array{layout.bga.x, layout.bga.y, layout.bga.width, layout.bga.height}), (std::array{0, 12, 0, -5}));
  EXPECT_EQ(Lane(11), (std::array{1, 20, 1}));
  EXPECT_EQ(layout.lanes[1].image, 3);
  EXPECT_EQ(layout.images[1].source.left, 5);
  EXPECT_EQ(layout.images[1].source.top, 0);
  EXPECT_EQ(layout.images[1].height, 0);
  // Numbers past a million pixels count as garbage too.
  EXPECT_EQ(Lane(13), (std::array{0, 0, 3}));
  EXPECT_EQ(static_cast<int32_t>(layout.fGreatFrames.size()), kMaxFGreatFrames);
  EXPECT_EQ(layout.digitWidth, 0);
  // The last line, with no line end after it, is still read.
  EXPECT_EQ(layout.lanes[12].x, 60);
  EXPECT_EQ(sink.lines.back(), "loadrect complete.");
}

TEST_F(LayoutTest, DispResizeRebuildsForTheNewSize) {
  Load("#OBJ01 0,0,10,4\r\n#KEY11 01,20,1\r\n");
  sink.lines.clear();
  EXPECT_EQ(DispResize(256.4, 255.6, layout, context), "Window[256x256]");
  EXPECT_EQ(sink.lines.front(), "DispResize ----");
  EXPECT_EQ(sink.lines.back(), "DispResize complete.");
  ASSERT_NE(media.back(), nullptr);
  EXPECT_EQ(media.back()->width(), 256);
  // No "#BGA" line: the BGA covers the whole drawing area.
  EXPECT_EQ(layout.bga.width, 256);
  EXPECT_EQ(media.bgaRect(), (Rect{0, 0, 256, 256}));
  EXPECT_EQ(media.guide()->height(), 256);

  media.SetFullScreenSize();
  EXPECT_EQ(DispResize(1000, 900, layout, context), "Window[640x480]");
  EXPECT_EQ(media.back()->width(), 640);
  EXPECT_EQ(media.back()->height(), 480);

  layout.loading = true;
  sink.lines.clear();
  EXPECT_EQ(DispResize(10, 10, layout, context), "");
  EXPECT_TRUE(sink.lines.empty());
}

}  // namespace
}  // namespace vremo::testing
