// make_skin OUTDIR: writes the default layout (default.vrd) and its skin
// picture (default_skin.png) into OUTDIR. The output is the same byte for
// byte on every run.

#include <QGuiApplication>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "display/layout.h"
#include "tools/make_skin/skin_art.h"
#include "tools/make_skin/skin_layout.h"

namespace {

using vremo::skin::Piece;

constexpr const char* kSkinName = "default_skin.png";
constexpr const char* kLayoutName = "default.vrd";
constexpr int kNoGuide = 0;
constexpr int kRightGuide = 2;
constexpr int kHatchedGuide = 3;

std::string Numbers(std::initializer_list<int> values) {
  std::string text;
  for (int value : values) text += (text.empty() ? "" : ",") + std::to_string(value);
  return text;
}

std::string TwoDigits(int value) { return (value < 10 ? "0" : "") + std::to_string(value); }

std::string PieceLine(const std::string& key, const Piece& piece) {
  return key + " " + Numbers({piece.x, piece.y, piece.width, piece.height}) + "\r\n";
}

template <typename Lanes>
std::string SideLines(int pseudoLane, int left, const Lanes& lanes) {
  std::string text =
      "#KEY" + TwoDigits(pseudoLane) + " " + Numbers({vremo::skin::kBarLineImage, left, kRightGuide}) + "\r\n";
  int x = left;
  for (const auto& lane : lanes) {
    text += "#KEY" + TwoDigits(lane.lane) + " " + Numbers({lane.image, x, kHatchedGuide}) + "\r\n";
    x += lane.width;
  }
  return text;
}

std::string LayoutText() {
  using namespace vremo::skin;
  std::string text;
  text += "; Vremo default layout: 7 keys and scratch on each side, BGA in the middle.\r\n";
  text += "; Written by tools/make_skin; regenerate instead of editing.\r\n";
  text += std::string("#FILE ") + kSkinName + "\r\n";
  text += PieceLine("#BGA", kBga);
  text += PieceLine("#OBJ" + TwoDigits(kWhiteImage), kWhiteNote);
  text += PieceLine("#OBJ" + TwoDigits(kBlueImage), kBlueNote);
  text += PieceLine("#OBJ" + TwoDigits(kScratchImage), kScratchNote);
  text += PieceLine("#OBJ" + TwoDigits(kBarLineImage), kBarLine);
  text += PieceLine("#OBJ" + TwoDigits(kFreeImage), kFreeNote);
  text += SideLines(vremo::kSidePseudoLane[0], kSide1Left, kSide1Lanes);
  text += SideLines(vremo::kSidePseudoLane[1], kSide2Left, kSide2Lanes);
  // The free lanes lie over the scratch lanes.
  text += "#KEY17 " + Numbers({kFreeImage, kSide1Left, kNoGuide}) + "\r\n";
  text += "#KEY27 " + Numbers({kFreeImage, kSide2Left + kSideWidth - kScratchWidth, kNoGuide}) + "\r\n";
  const char* judgements[] = {"#POOR", "#BAD", "#GOOD", "#GREAT"};
  for (int i = 0; i < 4; ++i) {
    text += PieceLine(judgements[i], Piece{kJudgeColumn, kJudgeTop + i * kJudgeHeight, kJudgeWidth, kJudgeHeight});
  }
  text += "#FGREAT " + Numbers({kFGreatColumn, kJudgeTop, kJudgeWidth, kJudgeHeight, kFGreatFrames}) + "\r\n";
  text += PieceLine("#NUM", kDigits);
  // Modern charts' landmines; players without them skip the lines.
  text += PieceLine("#MIN" + TwoDigits(kWhiteImage), kWhiteMine);
  text += PieceLine("#MIN" + TwoDigits(kBlueImage), kBlueMine);
  text += PieceLine("#MIN" + TwoDigits(kScratchImage), kScratchMine);
  text += PieceLine("#MIN" + TwoDigits(kFreeImage), kScratchMine);
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s OUTDIR\n", argv[0]);
    return 2;
  }
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  const std::filesystem::path dir = argv[1];
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);
  // Quality 0 asks for the strongest PNG compression.
  if (!vremo::skin::DrawSkin().save(QString::fromStdString((dir / kSkinName).string()), "PNG", 0)) {
    std::fprintf(stderr, "make_skin: cannot write %s\n", kSkinName);
    return 1;
  }
  std::ofstream layout(dir / kLayoutName, std::ios::binary | std::ios::trunc);
  layout << LayoutText();
  if (!layout) {
    std::fprintf(stderr, "make_skin: cannot write %s\n", kLayoutName);
    return 1;
  }
  std::printf("%s and %s written to %s\n", kLayoutName, kSkinName, dir.string().c_str());
  return 0;
}
