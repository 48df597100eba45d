#pragma once
// Small makers for the main window's controls, shared by its files.
// UI thread only.

#include <QPushButton>
#include <QString>

namespace vremo {

// A button that never takes the keyboard focus: keys belong to the play.
inline QPushButton* MakeButton(const QString& name, const QString& text, const QString& tip) {
  auto* button = new QPushButton(text);
  button->setObjectName(name);
  button->setToolTip(tip);
  button->setFocusPolicy(Qt::NoFocus);
  return button;
}

}  // namespace vremo
