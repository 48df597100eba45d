// The judgement windows and what each judgement does to a player's score.
#include "play/judge.h"

#include "chart/numbers.h"
#include "play/number_format.h"

namespace vremo {
namespace {

// Upper ends of the windows, inclusive; anything farther is Poor.
constexpr int32_t kFGreatWindow = 2;
constexpr int32_t kGreatWindow = 5;
constexpr int32_t kGoodWindow = 11;

constexpr float kGoodGaugeDivisor = 3.0f;
constexpr float kBadGaugeFactor = 3.0f;
constexpr float kPoorGaugeFactor = 6.0f;
constexpr double kFGreatPointsFactor = 2.0;
constexpr double kGoodPointsFactor = 0.5;

// J-Pts: 18 for an exact hit, one less per unit, twice as fast past 18.
constexpr int32_t kJPtsPerfect = 18;
constexpr double kJPtsLateFactor = 2.0;

constexpr int kJPtsDigits = 5;
constexpr int kPtsDigits = 6;

void SetComboDigits(PlayerScore& score) {
  if (score.combo < 1) {
    score.comboDigitTop = -1;
    return;
  }
  const std::string digits = std::to_string(score.combo);
  score.comboDigitTop = static_cast<int16_t>(digits.size() - 1);
  for (size_t i = 0; i < digits.size(); ++i) score.comboDigits[i] = static_cast<int16_t>(digits[i] - '0');
}

}  // namespace

int32_t JudgementOf(int32_t lateness) {
  if (lateness <= kFGreatWindow) return kJudgeFGreat;
  if (lateness <= kGreatWindow) return kJudgeGreat;
  if (lateness <= kGoodWindow) return kJudgeGood;
  if (lateness <= kBadWindow) return kJudgeBad;
  return kJudgePoor;
}

int32_t JudgementColour(int32_t judgement) {
  switch (judgement) {
    case kJudgeFGreat:
      return RgbColour(255, 255, 0);
    case kJudgeGreat:
      return RgbColour(0, 255, 0);
    case kJudgeGood:
      return RgbColour(0, 0, 255);
    case kJudgeBad:
      return RgbColour(255, 0, 255);
    default:
      return RgbColour(255, 0, 0);
  }
}

void ScoreBoard::ResetPlayers() {
  for (PlayerScore& score : players) {
    const std::array<int16_t, kMaxComboDigits> digits = score.comboDigits;
    score = PlayerScore{};
    score.comboDigits = digits;
    score.jPtsText = JPtsText(0.0f);
    score.ptsText = PtsText(0.0);
  }
}

int32_t ApplyJudgement(ScoreBoard& board, int player, const JudgeInput& in) {
  PlayerScore& score = board.players[player];
  const int32_t d = in.lateness;
  const int32_t kind = JudgementOf(d);
  switch (kind) {
    case kJudgeFGreat:
      ++score.fGreat;
      score.gauge += in.gaugeStep;
      score.pts += kFGreatPointsFactor * in.pointsUnit;
      break;
    case kJudgeGreat:
      ++score.great;
      score.gauge += in.gaugeStep;
      score.pts += in.pointsUnit;
      break;
    case kJudgeGood:
      ++score.good;
      score.gauge += in.gaugeStep / kGoodGaugeDivisor;
      score.pts += in.pointsUnit * kGoodPointsFactor;
      break;
    case kJudgeBad:
      ++score.bad;
      score.gauge -= in.gaugeStep * kBadGaugeFactor;
      break;
    default:
      ++score.poor;
      score.gauge -= in.gaugeStep * kPoorGaugeFactor;
      break;
  }
  if (kind >= kJudgeGood) {
    ++score.combo;
  } else {
    score.combo = 0;
    score.displayedGauge = 0.0f;
    board.missFlag = true;
    board.missPosition = RoundToInt32(in.currentPosition).value_or(board.missPosition);
  }
  score.lastJudgement = kind;
  board.lastColour = JudgementColour(kind);

  if (score.gauge > kGaugeMax) score.gauge = kGaugeMax;
  if (score.gauge < kGaugeMin) score.gauge = kGaugeMin;

  const double factor = d >= kJPtsPerfect ? kJPtsLateFactor : 1.0;
  score.jPts = static_cast<float>(score.jPts + (static_cast<double>(kJPtsPerfect) - d) * factor);
  score.lastJudgementTick = in.tick;
  score.jPtsText = JPtsText(score.jPts);
  score.ptsText = PtsText(score.pts);
  SetComboDigits(score);
  return kind;
}

std::string JPtsText(float jPts) { return FormatNumber(jPts, kJPtsDigits, 0) + "jp"; }
std::string PtsText(double pts) { return FormatNumber(pts, kPtsDigits, 0) + "p"; }

}  // namespace vremo
