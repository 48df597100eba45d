#pragma once
// `hscSeek`, the seek bar under the drawing area. Its range is 16-bit and
// kept as written: a chart longer than 32767 units wraps the maximum below
// the minimum, and the bar then runs backwards (it holds the values between
// the two ends, drawn from its minimum on the left). A value the bar cannot
// hold is ignored, so the bar keeps the value it had. The main window sets it
// from the play position and seeks from its changes. UI thread only.

#include <QScrollBar>
#include <cstdint>

namespace vremo {

class SeekBar : public QScrollBar {
  Q_OBJECT

 public:
  explicit SeekBar(QWidget* parent = nullptr);

  // Minimum and maximum as the program writes them (a value outside the new
  // range moves to its nearest end).
  void SetRangeAsWritten(int16_t minimum, int16_t maximum);
  int16_t writtenMinimum() const { return minimum_; }
  int16_t writtenMaximum() const { return maximum_; }

  // Whether `value` lies between the two ends of the range.
  bool Holds(int value) const;
  // Sets the value when the bar can hold it (valueChanged as usual);
  // otherwise nothing changes. Returns whether it was taken.
  bool SetValueIfHeld(int value);

 private:
  int16_t minimum_ = 0;
  int16_t maximum_ = 0;
};

}  // namespace vremo
