#pragma once
// Where everything sits in the default skin picture and on the 640 x 480
// play field. The picture and the layout file are both written from these
// numbers, so they cannot disagree.

#include <array>

namespace vremo::skin {

struct Piece {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

inline constexpr int kSkinWidth = 320;
inline constexpr int kSkinHeight = 144;

// Lane widths: scratch, white key, blue key.
inline constexpr int kScratchWidth = 34;
inline constexpr int kWhiteWidth = 22;
inline constexpr int kBlueWidth = 16;
inline constexpr int kNoteHeight = 8;
inline constexpr int kSideWidth = kScratchWidth + 4 * kWhiteWidth + 3 * kBlueWidth;

// Note image numbers of the layout's #OBJ lines.
inline constexpr int kWhiteImage = 1;
inline constexpr int kBlueImage = 2;
inline constexpr int kScratchImage = 3;
inline constexpr int kBarLineImage = 4;
inline constexpr int kFreeImage = 5;

inline constexpr Piece kWhiteNote{0, 0, kWhiteWidth, kNoteHeight};
inline constexpr Piece kBlueNote{24, 0, kBlueWidth, kNoteHeight};
inline constexpr Piece kScratchNote{42, 0, kScratchWidth, kNoteHeight};
inline constexpr Piece kFreeNote{78, 0, kScratchWidth, kNoteHeight};
inline constexpr Piece kBarLine{0, 10, kSideWidth, 1};
// Landmines, one per note width, in the free strip right of the notes.
inline constexpr Piece kWhiteMine{120, 0, kWhiteWidth, kNoteHeight};
inline constexpr Piece kBlueMine{144, 0, kBlueWidth, kNoteHeight};
inline constexpr Piece kScratchMine{162, 0, kScratchWidth, kNoteHeight};

// Judgement words: Poor, Bad, Good, Great stacked in one column, the fGreat
// frames in the next; the digits 0 to 9 side by side below them.
inline constexpr int kJudgeWidth = 84;
inline constexpr int kJudgeHeight = 14;
inline constexpr int kJudgeColumn = 120;
inline constexpr int kFGreatColumn = 220;
inline constexpr int kJudgeTop = 16;
inline constexpr int kFGreatFrames = 4;
inline constexpr int kDigitWidth = 11;
inline constexpr int kDigitHeight = kJudgeHeight;
inline constexpr Piece kDigits{120, 80, kDigitWidth, kDigitHeight};

// The play field: side 1 with the scratch on the left, the BGA in the
// middle, side 2 with the scratch on the right.
inline constexpr int kFieldWidth = 640;
inline constexpr int kSide1Left = 11;
inline constexpr int kSide2Left = kFieldWidth - kSide1Left - kSideWidth;
inline constexpr Piece kBga{192, 24, 256, 256};

struct SkinLane {
  int lane = 0;
  int image = 0;
  int width = 0;
};

// Left to right on each side.
inline constexpr std::array<SkinLane, 8> kSide1Lanes = {{{16, kScratchImage, kScratchWidth},
                                                         {11, kWhiteImage, kWhiteWidth},
                                                         {12, kBlueImage, kBlueWidth},
                                                         {13, kWhiteImage, kWhiteWidth},
                                                         {14, kBlueImage, kBlueWidth},
                                                         {15, kWhiteImage, kWhiteWidth},
                                                         {18, kBlueImage, kBlueWidth},
                                                         {19, kWhiteImage, kWhiteWidth}}};
inline constexpr std::array<SkinLane, 8> kSide2Lanes = {{{21, kWhiteImage, kWhiteWidth},
                                                         {22, kBlueImage, kBlueWidth},
                                                         {23, kWhiteImage, kWhiteWidth},
                                                         {24, kBlueImage, kBlueWidth},
                                                         {25, kWhiteImage, kWhiteWidth},
                                                         {28, kBlueImage, kBlueWidth},
                                                         {29, kWhiteImage, kWhiteWidth},
                                                         {26, kScratchImage, kScratchWidth}}};

}  // namespace vremo::skin
