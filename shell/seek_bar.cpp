// SeekBar: a 16-bit range kept as written.
#include "shell/seek_bar.h"

#include <algorithm>

namespace vremo {

SeekBar::SeekBar(QWidget* parent) : QScrollBar(Qt::Horizontal, parent) { setRange(0, 0); }

void SeekBar::SetRangeAsWritten(int16_t minimum, int16_t maximum) {
  minimum_ = minimum;
  maximum_ = maximum;
  // Qt keeps a range only in ascending order: it gets the two ends sorted,
  // and a backwards range is drawn from the right so the minimum stays left.
  setRange(std::min(minimum, maximum), std::max(minimum, maximum));
  setInvertedAppearance(maximum < minimum);
}

bool SeekBar::Holds(int value) const {
  return value >= std::min(minimum_, maximum_) && value <= std::max(minimum_, maximum_);
}

bool SeekBar::SetValueIfHeld(int value) {
  if (!Holds(value)) return false;
  setValue(value);
  return true;
}

}  // namespace vremo
