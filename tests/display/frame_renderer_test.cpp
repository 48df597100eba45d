// Frames drawn with the test skin and read back pixel by pixel.
#include "display/frame_renderer.h"

#include "tests/display/graphics_fixture.h"

namespace vremo::testing {
namespace {

constexpr int32_t kLane11Column = 5;   // inside lane 11 (x 0-9)
constexpr int32_t kLane12Column = 55;  // inside lane 12 (x 40-69)
constexpr int32_t kLane17Column = 85;  // inside lane 17 (x 80-89)
constexpr int32_t kBarColumn = 100;    // only the bar line reaches here

using FrameRendererTest = RenderFixture;

// Notes and the grid (48 units apart) at hi-speed 1 and 2.
TEST_F(FrameRendererTest, NotesAndGridSitOnTheirPositionAtHiSpeedOneAndTwo) {
  Add(100, 11);
  settings.showGlid = true;
  DrawAt(0.0);
  // y = 480 + (0 - 100) x 1 = 380: the note's bottom row is 379.
  EXPECT_EQ(RowsOf(kLane11Column, kNoteRed), Span(376, 379));
  EXPECT_EQ(RowsOf(kBarColumn, kBarGreen), (std::vector<int32_t>{47, 95, 143, 191, 239, 287, 335, 383, 431, 479}));
  settings.hiSpeed = 2.0f;
  DrawAt(0.0);
  EXPECT_EQ(RowsOf(kLane11Column, kNoteRed), Span(276, 279));
  EXPECT_EQ(RowsOf(kBarColumn, kBarGreen), (std::vector<int32_t>{95, 191, 287, 383, 479}));
  settings.showGlid = false;
  DrawAt(30.0);
  EXPECT_EQ(RowsOf(kLane11Column, kNoteRed), Span(336, 339));
  // A note above the visible end is not drawn at all.
  settings.hiSpeed = 1.0f;
  DrawAt(-400.0);
  EXPECT_TRUE(RowsOf(kLane11Column, kNoteRed).empty());
}

// Reverse, accel and nazo bend the lane; hidden, sudden and stealth limit
// what shows.
TEST_F(FrameRendererTest, LaneOptionsMoveAndHideNotes) {
  Add({{0, 12}, {100, 11}, {240, 11}, {476, 12}});
  settings.reverse = true;
  DrawAt(0.0);
  // The line is at the top: y 380 is drawn from H - y = 100 down.
  EXPECT_EQ(RowsOf(kLane11Column, kNoteRed), (std::vector<int32_t>{100, 101, 102, 103, 240, 241, 242, 243}));
  settings.reverse = false;
  settings.accel = true;
  DrawAt(0.0);
  // y = H stays H; y = H/2 becomes H/4; y = 380 becomes 300.8 -> 301.
  EXPECT_EQ(RowsOf(kLane11Column, kNoteRed), (std::vector<int32_t>{116, 117, 118, 119, 297, 298, 299, 300}));
  EXPECT_EQ(RowsOf(kLane12Column, kWideOrange), Span(476, 479));
  settings.accel = false;
  settings.nazo = true;
  DrawAt(0.0);
  // At the line the lane is full width (x 40-69); a note entering at the
  // top (y 4) comes up from the bottom at y 472, 12 pixels in from each edge.
  EXPECT_EQ(At({{40, 478}, {69, 478}, {52, 470}, {57, 470}}), Each(4, kWideOrange));
  EXPECT_EQ(At({{51, 470}, {58, 470}}), Each(2, kBlack));

  chart->objectCount = 0;
  Add({{119, 12}, {120, 11}});
  settings.nazo = false;
  settings.hidden = true;
  DrawAt(0.0);
  // 120 pixels above the line is drawn, 119 is not.
  EXPECT_EQ(RowsOf(kLane11Column, kNoteRed), Span(356, 359));
  EXPECT_TRUE(RowsOf(kLane12Column, kWideOrange).empty());

  chart->objectCount = 0;
  Add({{124, 11}, {125, 12}});
  settings.hidden = false;
  settings.sudden = true;
  DrawAt(0.0);
  EXPECT_EQ(RowsOf(kLane11Column, kNoteRed), Span(352, 355));
  EXPECT_TRUE(RowsOf(kLane12Column, kWideOrange).empty());

  chart->objectCount = 0;
  Add({{48, kChannelBarLine}, {96, 11}, {144, 17}});
  settings.sudden = false;
  settings.stealth = true;
  DrawAt(0.0);
  EXPECT_TRUE(RowsOf(kLane11Column, kNoteRed).empty());
  EXPECT_EQ(RowsOf(kBarColumn, kBarGreen), std::vector<int32_t>{431});
  EXPECT_EQ(RowsOf(kLane17Column, kFreeBlue), Span(332, 335));
}

// Modern charts: a long note in lane 11 from 100 to 700 with 30 other
// objects inside it, and a mine at 40 in the same lane.
TEST_F(FrameRendererTest, LongNotesAndMinesOfModernCharts) {
  constexpr Colour kBodyRed = Rgb(100, 0, 0);  // the note's red, darker
  constexpr int32_t kHead = 1;
  constexpr int32_t kTail = 32;
  Add(40, 11 + kMineChannelOffset);
  Add(100, 11);
  for (int32_t i = 0; i < 30; ++i) Add(110 + i, kChannelBackgroundSound);
  Add(700, 11);
  chart->objects[kHead].kind = NoteKind::kLongHead;
  chart->objects[kTail].kind = NoteKind::kLongTail;
  chart->modern = true;
  engine.state().laneHeldLong.fill(kNoPendingNote);
  DrawAt(0.0);
  // The head's foot at 380, the tail above the top: the body runs from the
  // top edge down to the head; the mine (y 440) is a red block, black inside.
  EXPECT_EQ(RowsOf(kLane11Column, kNoteRed), Span(376, 379));
  EXPECT_EQ(RowsOf(kLane11Column, kBodyRed), Span(0, 375));
  EXPECT_EQ(
      At({{0, 436}, {9, 439}, {0, 438}, {1, 437}, {8, 438}, {10, 437}}),
      (std::vector<Colour>{kMineFallbackColour, kMineFallbackColour, kMineFallbackColour, kBlack, kBlack, kBlack}));
  // Held early (the head still 10 units off): the head is gone and the body
  // starts at the line.
  int32_t& held = engine.state().laneHeldLong[0];
  held = kHead;
  DrawAt(90.0);
  EXPECT_TRUE(RowsOf(kLane11Column, kNoteRed).empty());
  EXPECT_EQ(RowsOf(kLane11Column, kBodyRed), Span(0, 479));
  // Held with the head out of the 20-object window and the tail not yet in
  // sight: the whole lane.
  engine.state().currentPosition = 150.0;
  renderer.DrawFrame(kTail);
  EXPECT_EQ(RowsOf(kLane11Column, kBodyRed), Span(0, 479));
  // Let go: the tail in sight brings its body along.
  held = kNoPendingNote;
  engine.state().currentPosition = 400.0;
  renderer.DrawFrame(kTail);
  EXPECT_EQ(RowsOf(kLane11Column, kNoteRed), Span(176, 179));
  EXPECT_EQ(RowsOf(kLane11Column, kBodyRed), Span(180, 479));
  // Reverse turns it over; Hidden and Sudden keep the part a note would show.
  settings.reverse = true;
  renderer.DrawFrame(kTail);
  EXPECT_EQ(RowsOf(kLane11Column, kNoteRed), Span(300, 303));
  EXPECT_EQ(RowsOf(kLane11Column, kBodyRed), Span(0, 299));
  settings.reverse = false;
  settings.hidden = true;
  renderer.DrawFrame(kTail);
  EXPECT_EQ(RowsOf(kLane11Column, kBodyRed), Span(180, 359));
  settings.hidden = false;
  settings.sudden = true;
  renderer.DrawFrame(kTail);
  EXPECT_EQ(RowsOf(kLane11Column, kBodyRed), Span(356, 479));
  settings.sudden = false;

  // Pictures the layout names: a blue body, a yellow head and an orange mine.
  LoadRect(
      folder.Write("modern.vrd", TestLayoutText() + "#LNB01 0,20,10,4\r\n#LNH01 0,30,10,4\r\n#MIN01 20,20,10,4\r\n"),
      layout, layoutContext);
  DrawAt(0.0);
  EXPECT_EQ(RowsOf(kLane11Column, kGreatYellow), Span(376, 379));
  EXPECT_EQ(RowsOf(kLane11Column, kFreeBlue), Span(0, 375));
  EXPECT_EQ(RowsOf(kLane11Column, kWideOrange), Span(436, 439));

  // A classic chart draws the same objects as plain notes and no mine.
  chart->modern = false;
  DrawAt(400.0);
  EXPECT_EQ(RowsOf(kLane11Column, kNoteRed), Span(176, 179));
  EXPECT_TRUE(RowsOf(kLane11Column, kFreeBlue).empty());
  DrawAt(0.0);
  EXPECT_EQ(RowsOf(kLane11Column, kNoteRed), Span(376, 379));
  EXPECT_TRUE(RowsOf(kLane11Column, kWideOrange).empty());

  // Bent, reversed and extreme frames of a held note draw without fault; a
  // head whose tail is missing keeps its picture and has no body.
  chart->modern = true;
  held = kHead;
  chart->objects[kTail].kind = NoteKind::kNote;
  for (float hiSpeed : {1e6f, -3.0f, 0.0f, 0.5f}) {
    settings.hiSpeed = hiSpeed;
    settings.nazo = settings.accel = settings.reverse = true;
    for (double cur : {-1e12, 95.0, 650.0, 1e15}) DrawAt(cur);
  }
  settings = Settings{};
  held = kNoPendingNote;
  DrawAt(0.0);
  EXPECT_EQ(RowsOf(kLane11Column, kGreatYellow), Span(376, 379));
  EXPECT_TRUE(RowsOf(kLane11Column, kFreeBlue).empty());
}

// Judgements and combo line up on the side; a pending note is missed.
TEST_F(FrameRendererTest, JudgementComboAndMissWhenDrawing) {
  settings.userPlay = true;
  PlayerScore& score = engine.scores().players[0];
  score.lastJudgement = kJudgeGreat;
  score.lastJudgementTick = clock.TickCount() - 200;
  score.combo = 12;
  score.comboDigitTop = 1;
  score.comboDigits = {1, 2};
  // 70 is on the blink (70 mod 7 = 0), off every beat and bar pulse.
  DrawAt(70.0);
  // left = (120 - 20 - 2 x 6) / 2 = 44, top = 480 - 64.
  EXPECT_EQ(RowsOf(50, kGreatYellow), Span(416, 423));
  EXPECT_EQ(At({{44, 416}, {63, 423}, {43, 416}}), (std::vector<Colour>{kGreatYellow, kGreatYellow, kBlack}));
  // The digits follow, each lifted by the wave 3 sin(70/24 x 180 + 60 k).
  EXPECT_EQ(RowsOf(66, DigitColour(1)), Span(415, 422));
  EXPECT_EQ(RowsOf(72, DigitColour(2)), Span(418, 425));

  DrawAt(74.0);  // blink off: Great is not shown
  EXPECT_TRUE(RowsOf(50, kGreatYellow).empty());

  // fGreat stays lit and changes frame every 50 ms.
  score.lastJudgement = kJudgeFGreat;
  DrawAt(74.0);
  EXPECT_EQ(At(50, 418), kFGreatFrame0);
  clock.Advance(50);
  DrawAt(74.0);
  EXPECT_EQ(At(50, 418), kFGreatFrame1);
  // After a second the judgement is cleared.
  clock.Advance(1000);
  DrawAt(74.0);
  EXPECT_EQ(score.lastJudgement, kNoJudgement);
  EXPECT_EQ(At(50, 418), kBlack);

  // Drawing misses a pending note 18 units late.
  Add(100, 11);
  DrawAt(117.9);
  EXPECT_EQ(score.poor, 0);
  EXPECT_EQ(engine.state().lanePendingNote[0], 0);
  DrawAt(118.0);
  EXPECT_EQ(score.poor, 1);
  EXPECT_EQ(engine.state().lanePendingNote[0], kNoPendingNote);
}

TEST_F(FrameRendererTest, RecordMarksInTheirOwnColour) {
  settings.showRec = true;
  engine.record().Assign({PlayRecordEntry{0, 100, RgbColour(255, 128, 0), 11, 1, 0}}, 1);
  DrawAt(0.0);
  EXPECT_EQ(At({{0, 376}, {9, 379}, {5, 376}}), Each(3, Rgb(255, 128, 0)));
  EXPECT_EQ(At({{5, 377}, {10, 376}}), Each(2, kBlack));
  DrawAt(101.0);  // passed
  EXPECT_EQ(At(0, 480 - 1), kBlack);
}

TEST_F(FrameRendererTest, BgaComposesBaseLayerAndMissPictures) {
  QImage layer = Filled(64, 64, Qt::black);
  layer.setPixel(32, 32, qRgb(255, 255, 255));
  for (const auto& [slot, image] : {std::pair{1, Filled(64, 64, QColor(10, 200, 10))}, std::pair{2, layer},
                                    std::pair{3, Filled(64, 64, QColor(200, 10, 10))}}) {
    const std::string path = folder.Path("bga" + std::to_string(slot) + ".png");
    ASSERT_TRUE(image.save(QString::fromStdString(path)));
    ASSERT_TRUE(media.LoadPicture(slot, path, true).loaded);
    chart->pictureRect[static_cast<size_t>(slot)] = PictureRect{0, 0, 64, 64};
  }
  engine.state().basePicture = 1;
  engine.state().layerPicture = 2;
  engine.state().pictureChanged = true;
  DrawAt(0.0);
  // Centred in the 256 square: x 96-159, y 0-63; the layer's black is clear.
  EXPECT_EQ(At({{100, 10}, {96 + 32, 32}, {95, 10}}), (std::vector<Colour>{Rgb(10, 200, 10), kWhite, kBlack}));
  EXPECT_FALSE(engine.state().pictureChanged);
  engine.scores().missFlag = true;
  engine.state().missPicture = 3;
  DrawAt(0.0);
  EXPECT_EQ(At({{100, 10}, {96 + 32, 32}}), Each(2, Rgb(200, 10, 10)));
  settings.showBga = false;
  DrawAt(0.0);
  EXPECT_EQ(At(100, 10), kBlack);
}

// One sounding slot, half played.
class HalfPlayedBank : public SilentSoundBank {
 public:
  bool HasSound(int slot) const override { return slot == 0x11; }
  int32_t PlayCursor(int slot) const override { return slot == 0x11 ? 50 : 0; }
};

TEST_F(FrameRendererTest, SoundPanelAndOverviewShowPlayingSlots) {
  HalfPlayedBank bank;
  FrameRenderer panelRenderer(engine, media, layout, bank);
  chart->soundSize[0x11] = 100.0f;
  settings.polMode = true;
  engine.state().currentPosition = 0.0;
  panelRenderer.DrawFrame(0);
  // Slot 11 is the cell at (16, 16): an 8-pixel bar along its foot.
  EXPECT_EQ(At({{20, 29}, {23, 30}, {26, 29}, {16, 20}}),
            (std::vector<Colour>{kSoundPanelLabelColour, kSoundPanelLabelColour, kBlack, kSoundPanelGridColour}));

  SoundOverview overview;
  overview.barWidth.fill(-1.0);
  overview.barWidth[0] = 16.0;
  panelRenderer.DrawSoundOverview(overview);
  EXPECT_EQ(At({{8, 13}, {24, 29}}), (std::vector<Colour>{kSoundPanelLabelColour, kBlack}));
}

TEST_F(FrameRendererTest, GaugeAndMessageOverlaysAndThePresentedFrame) {
  settings.showGauge = true;
  engine.scores().players[0].displayedGauge = 50.0f;
  DrawAt(0.0);
  // The gauge is centred on the 120-pixel side: x = (120 - 100) / 2 = 10.
  EXPECT_EQ(At({{10, 442}, {15, 442}, {20, 446}, {25, 444}}),
            (std::vector<Colour>{kFontZero, kFontFive, kFontZero, kFontPercent}));
  // Full up to 50 less a flicker of at most 5 pixels, the end column at 59,
  // the rest of the 99-pixel strip empty.
  for (int32_t x = 10; x < 55; ++x) EXPECT_EQ(At(x, 434), kGaugeFull) << x;
  EXPECT_EQ(At(59, 430), kGaugeFull);
  for (int32_t x = 60; x < 109; ++x) EXPECT_EQ(At(x, 438), kGaugeEmpty) << x;
  EXPECT_EQ(At({{109, 434}, {9, 434}}), Each(2, kBlack));
  settings.showGauge = false;
  DrawAt(0.0);
  EXPECT_EQ(At(10, 434), kBlack);

  // A message lasts one second.
  Surface target(kWidth * 2, kHeight * 2);
  SurfacePresenter presenter(target);
  renderer.SetPresenter(&presenter);
  auto count = [this](Colour colour) { return CountPixels(*media.back(), colour, kWidth, 20); };
  renderer.ShowMessage("HiSpeed: 2 (1:Down/2:Up)");
  Add(100, 11);
  DrawAt(0.0);
  // Blue text on its dark blue ground.
  EXPECT_GT(count(kBackForeColour), 20);
  EXPECT_GT(count(kBackSecondColour), 20);
  // The window shows the frame stretched to its size.
  EXPECT_EQ(target.Pixel(10, 2 * 378), kNoteRed);
  clock.Advance(kMessageDurationMs + 1);
  DrawAt(0.0);
  EXPECT_EQ(count(kBackForeColour), 0);
}

TEST_F(FrameRendererTest, GarbageLayoutAndExtremeOptionsDrawWithoutFault) {
  const std::string garbage =
      "#KEY12 04,-1000000,3\r\n#OBJ04 0,0,-30,-4\r\n#GREAT 0,0,-20,1000000\r\n#NUM 0,0,-6,-8\r\n"
      "#FGREAT 0,0,1000000,1000000,1024\r\n";
  LoadRect(folder.Write("garbage.vrd", TestLayoutText() + garbage), layout, layoutContext);
  settings.userPlay = settings.showGauge = settings.showGlid = settings.showVLine = settings.polMode = true;
  for (int32_t i = 0; i < 40; ++i) Add(i * 30, i % 2 == 0 ? 11 : 12);
  PlayerScore& score = engine.scores().players[0];
  score.combo = 1234567890;
  score.comboDigitTop = 9;
  score.comboDigits = {1, 2, 3, 4, 5, 6, 7, 8, 9, 0};
  score.displayedGauge = 1e30f;
  for (float hiSpeed : {1e6f, -3.0f, 0.0f, 1e-6f}) {
    settings.hiSpeed = hiSpeed;
    settings.nazo = settings.accel = settings.reverse = hiSpeed > 1.0f;
    for (int32_t kind : {kJudgeGreat, kJudgeFGreat}) {
      score.lastJudgement = kind;
      score.lastJudgementTick = clock.TickCount();
      for (double cur : {-1e12, 600.0, 1e15}) DrawAt(cur);
    }
  }
  // The sane lane is drawn where it belongs all the same.
  settings = Settings{};
  chart->objectCount = 0;
  Add(100, 11);
  DrawAt(0.0);
  EXPECT_EQ(RowsOf(kLane11Column, kNoteRed), Span(376, 379));
}

}  // namespace
}  // namespace vremo::testing
