// The timing calibration dialog: click, presses, plot, median.
#include "shell/calibration_dialog.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "play/lane_keys.h"
#include "play/settings.h"

namespace vremo {
namespace {

constexpr double kClickSeconds = 0.03;
constexpr double kClickToneHz = 1760.0;
constexpr double kClickDecayPerSecond = 150.0;
constexpr float kClickGain = 0.6f;
constexpr int kPollMs = 2;
// The plot shows errors up to this far either way.
constexpr double kPlotRangeMs = 250.0;
constexpr int kPlotWidth = 320;
constexpr int kPlotHeight = 120;
constexpr int kPlotMargin = 6;
constexpr int kPointRadius = 3;

}  // namespace

// The errors of the presses, left to right, with 0 across the middle.
class CalibrationPlot : public QWidget {
 public:
  explicit CalibrationPlot(const std::vector<double>& errors) : errors_(errors) {
    setObjectName("picCalibration");
    setMinimumSize(kPlotWidth, kPlotHeight);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    const double middle = height() / 2.0;
    const double scale = (middle - kPlotMargin) / kPlotRangeMs;
    painter.setPen(Qt::darkGray);
    painter.drawLine(QPointF(0, middle), QPointF(width(), middle));
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::yellow);
    const double step = (width() - 2.0 * kPlotMargin) / kCalibrationPresses;
    for (size_t i = 0; i < errors_.size(); ++i) {
      const double error = std::clamp(errors_[i], -kPlotRangeMs, kPlotRangeMs);
      const QPointF point(kPlotMargin + step * (static_cast<double>(i) + 0.5), middle - error * scale);
      painter.drawEllipse(point, kPointRadius, kPointRadius);
    }
  }

 private:
  const std::vector<double>& errors_;
};

int32_t MedianOffset(std::vector<double> errors) {
  if (errors.empty()) return 0;
  std::sort(errors.begin(), errors.end());
  const size_t half = errors.size() / 2;
  const double median = errors.size() % 2 == 1 ? errors[half] : (errors[half - 1] + errors[half]) / 2.0;
  return static_cast<int32_t>(std::clamp<double>(std::nearbyint(median), kMinOffsetMs, kMaxOffsetMs));
}

std::shared_ptr<const SoundData> MakeClickSound(int32_t sampleRate) {
  auto sound = std::make_shared<SoundData>();
  sound->sampleRate = sampleRate;
  sound->fileChannels = 1;
  sound->frames = static_cast<int64_t>(kClickSeconds * sampleRate);
  sound->samples.assign(static_cast<size_t>((sound->frames + 1) * kSoundChannels), 0.0f);
  for (int64_t i = 0; i < sound->frames; ++i) {
    const double t = static_cast<double>(i) / sampleRate;
    const auto value = static_cast<float>(kClickGain * std::sin(2.0 * std::numbers::pi * kClickToneHz * t) *
                                          std::exp(-kClickDecayPerSecond * t));
    sound->samples[static_cast<size_t>(i * kSoundChannels)] = value;
    sound->samples[static_cast<size_t>(i * kSoundChannels + 1)] = value;
  }
  return sound;
}

CalibrationDialog::CalibrationDialog(SoundOutput* output, int32_t outputRate, Clock& clock, QWidget* parent)
    : QDialog(parent), output_(output), outputRate_(outputRate), clock_(clock) {
  setObjectName("frmCalibration");
  setWindowTitle(tr("Timing calibration"));
  if (output_ != nullptr && outputRate_ > 0) click_ = MakeClickSound(outputRate_);
  auto* column = new QVBoxLayout(this);
  column->addWidget(new QLabel(tr("Press any key on each click (%1 presses).").arg(kCalibrationPresses)));
  plot_ = new CalibrationPlot(errors_);
  column->addWidget(plot_);
  lblStatus_ = new QLabel;
  lblStatus_->setObjectName("lblCalibration");
  column->addWidget(lblStatus_);
  auto* buttons = new QHBoxLayout;
  auto* again = new QPushButton(tr("Again"));
  again->setObjectName("cmdCalibrationAgain");
  cmdApply_ = new QPushButton(tr("Apply"));
  cmdApply_->setObjectName("cmdCalibrationApply");
  auto* cancel = new QPushButton(tr("Cancel"));
  cancel->setObjectName("cmdCalibrationCancel");
  for (QPushButton* button : {again, cmdApply_, cancel}) {
    button->setFocusPolicy(Qt::NoFocus);  // every key is a press
    button->setAutoDefault(false);
    buttons->addWidget(button);
  }
  column->addLayout(buttons);
  connect(again, &QPushButton::clicked, this, [this] { Restart(clock_.TickCount()); });
  connect(cmdApply_, &QPushButton::clicked, this, &QDialog::accept);
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
  timer_.setTimerType(Qt::PreciseTimer);
  connect(&timer_, &QTimer::timeout, this, &CalibrationDialog::Tick);
  Restart(clock_.TickCount());
}

CalibrationDialog::~CalibrationDialog() {
  if (output_ != nullptr) output_->StopVoice(kCalibrationVoice);
}

void CalibrationDialog::Restart(int32_t tick) {
  startTick_ = tick;
  clicksPlayed_ = 0;
  errors_.clear();
  timer_.start(kPollMs);
  Tick();
}

void CalibrationDialog::Tick() {
  const int64_t due = TicksBetween(clock_.TickCount(), startTick_);
  if (due < 0 || due < clicksPlayed_ * kCalibrationIntervalMs) {
    ShowState();
    return;
  }
  clicksPlayed_ = due / kCalibrationIntervalMs + 1;
  if (output_ != nullptr && click_) output_->StartVoice(kCalibrationVoice, click_, outputRate_, 0.0);
  ShowState();
}

void CalibrationDialog::PressAt(double tick) {
  if (errors_.size() >= static_cast<size_t>(kCalibrationPresses)) return;
  const double sinceStart =
      TicksBetween(static_cast<int32_t>(std::floor(tick)), startTick_) + (tick - std::floor(tick));
  // Before the first click is still heard as a press for it.
  const double nearest = std::max(0.0, std::nearbyint(sinceStart / kCalibrationIntervalMs)) * kCalibrationIntervalMs;
  errors_.push_back(sinceStart - nearest);
  if (errors_.size() >= static_cast<size_t>(kCalibrationPresses)) timer_.stop();
  ShowState();
  plot_->update();
}

std::optional<int32_t> CalibrationDialog::proposedOffset() const {
  if (errors_.size() < static_cast<size_t>(kCalibrationPresses)) return std::nullopt;
  return MedianOffset(errors_);
}

void CalibrationDialog::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    QDialog::keyPressEvent(event);
    return;
  }
  if (event->isAutoRepeat()) return;
  const int32_t now = clock_.TickCount();
  PressAt(KeyEventTick(event->timestamp(), now, now, 0));
}

void CalibrationDialog::ShowState() {
  const auto offset = proposedOffset();
  cmdApply_->setEnabled(offset.has_value());
  if (offset) {
    lblStatus_->setText(tr("Proposed judgement offset: %1 ms").arg(*offset));
  } else {
    lblStatus_->setText(tr("Presses: %1 / %2").arg(errors_.size()).arg(kCalibrationPresses));
  }
}

}  // namespace vremo
