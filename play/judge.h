#pragma once
// Judgement and scoring: how far from its position a note was hit decides
// fGreat, Great, Good, Bad or Poor, and each judgement moves the player's
// counts, combo, groove gauge and points. Distances are in chart position
// units (48 a beat), so the windows narrow in time as the tempo rises; the
// modern reading measures them in time, in units at the note's tempo.
// PlayEngine::JudgeNote (play_engine.h) finds the note's player and distance
// and calls ApplyJudgement; the renderer reads the ScoreBoard. UI thread only.

#include <array>
#include <cstdint>
#include <string>

namespace vremo {

// Judgement kinds, as the renderer's images and the last-judgement field
// number them.
inline constexpr int32_t kNoJudgement = -1;
inline constexpr int32_t kJudgePoor = 0;
inline constexpr int32_t kJudgeBad = 1;
inline constexpr int32_t kJudgeGood = 2;
inline constexpr int32_t kJudgeGreat = 3;
inline constexpr int32_t kJudgeFGreat = 4;

inline constexpr float kGaugeStart = 22.0f;
inline constexpr float kGaugeMax = 100.0f;
inline constexpr float kGaugeMin = 0.0f;

// A note within this many units of the position becomes its lane's pending
// note; a pending note this many units late is missed and judged with
// kMissedNoteLateness.
inline constexpr int32_t kPendingNoteRange = 40;
inline constexpr int32_t kMissedNoteDistance = 18;
inline constexpr int32_t kMissedNoteLateness = 48;

// The far end of the Bad window, inclusive; farther is Poor.
inline constexpr int32_t kBadWindow = 23;

inline constexpr int32_t kMaxComboDigits = 10;  // a 32-bit combo has at most 10

// 0x00BBGGRR, the colour layout play records store.
constexpr int32_t RgbColour(int32_t r, int32_t g, int32_t b) { return r + g * 256 + b * 65536; }

// The kind of a judgement at `lateness` units (an absolute distance).
int32_t JudgementOf(int32_t lateness);
int32_t JudgementColour(int32_t judgement);

struct PlayerScore {
  int32_t fGreat = 0;
  int32_t great = 0;
  int32_t good = 0;
  int32_t bad = 0;
  int32_t poor = 0;
  int32_t combo = 0;
  // Digit count - 1 of the combo, -1 while the combo is 0; digits most
  // significant first. Entries past the count keep older digits.
  int16_t comboDigitTop = -1;
  std::array<int16_t, kMaxComboDigits> comboDigits{};
  int32_t lastJudgement = kNoJudgement;
  int32_t lastJudgementTick = 0;
  float gauge = kGaugeStart;
  float displayedGauge = 0.0f;  // follows gauge through PlayTimerProc
  float jPts = 0.0f;
  double pts = 0.0;
  std::string jPtsText;  // for the renderer's digit font
  std::string ptsText;

  int32_t ExPts() const { return 2 * fGreat + great; }
};

struct ScoreBoard {
  std::array<PlayerScore, 2> players;
  int32_t lastColour = 0;  // of the latest judgement of either player
  bool missFlag = false;   // the renderer shows the miss picture
  int32_t missPosition = 0;

  // What every play starts from; the colour and the miss fields carry over.
  void ResetPlayers();
};

struct JudgeInput {
  int32_t lateness = 0;  // units from the note's position, never negative
  float gaugeStep = 0.0f;
  double pointsUnit = 0.0;
  double currentPosition = 0.0;
  int32_t tick = 0;  // clock tick of the judgement
};

// Applies one judgement to `player` (0 or 1) and returns its kind.
int32_t ApplyJudgement(ScoreBoard& board, int player, const JudgeInput& input);

// "#00000jp" and "000000p": the texts the renderer draws with its digit font.
std::string JPtsText(float jPts);
std::string PtsText(double pts);

}  // namespace vremo
