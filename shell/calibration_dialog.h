#pragma once
// The timing calibration: a steady click plays through the sound output and
// the user presses any key on each click. After kCalibrationPresses presses
// the dialog shows each press's distance from its click on a small plot and
// proposes their median as the judgement offset (positive: the presses came
// late). Apply accepts, Cancel rejects. Opened by the option panel's
// "Calibrate..." button; key times come from the events' timestamps, checked
// as the play's keys are. UI thread only.

#include <QDialog>
#include <QTimer>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "display/sound_data.h"
#include "display/sound_output.h"
#include "play/clock.h"

class QKeyEvent;
class QLabel;
class QPushButton;

namespace vremo {

inline constexpr int kCalibrationPresses = 16;
inline constexpr int32_t kCalibrationIntervalMs = 500;  // 120 clicks a minute
// The click plays on voice 0: slot "00" is never a sound that a chart plays.
inline constexpr int kCalibrationVoice = 0;

// The median of the presses' errors in whole ms (halves to even); 0 for none.
int32_t MedianOffset(std::vector<double> errors);
// A short decaying tone at `sampleRate`.
std::shared_ptr<const SoundData> MakeClickSound(int32_t sampleRate);

class CalibrationPlot;

class CalibrationDialog : public QDialog {
  Q_OBJECT

 public:
  // `output` may be null (no sound); `clock` is the play clock the key
  // timestamps are read against. The first click sounds at once.
  CalibrationDialog(SoundOutput* output, int32_t outputRate, Clock& clock, QWidget* parent = nullptr);
  ~CalibrationDialog() override;

  // Clicks from `tick` on, every kCalibrationIntervalMs; presses so far are
  // forgotten.
  void Restart(int32_t tick);
  // A press at `tick`: its distance to the nearest click is kept.
  void PressAt(double tick);

  const std::vector<double>& errors() const { return errors_; }
  // The median once all presses are in.
  std::optional<int32_t> proposedOffset() const;

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void Tick();
  void ShowState();

  SoundOutput* output_;
  int32_t outputRate_;
  Clock& clock_;
  std::shared_ptr<const SoundData> click_;
  QTimer timer_;
  int32_t startTick_ = 0;
  int64_t clicksPlayed_ = 0;
  std::vector<double> errors_;
  CalibrationPlot* plot_ = nullptr;
  QLabel* lblStatus_ = nullptr;
  QPushButton* cmdApply_ = nullptr;
};

}  // namespace vremo
