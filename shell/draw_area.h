#pragma once
// `picDraw`, the drawing area of the main window: shows the renderer's back
// surface scaled to the widget with nearest-pixel scaling (crisp, as the
// surfaces are drawn pixel by pixel), and reports the mouse and size changes
// the main window turns into seeks, the display-mode switch and DispResize.
// The renderer presents into it once per frame. UI thread only.

#include <QImage>
#include <QWidget>
#include <functional>

#include "display/frame_renderer.h"

namespace vremo {

class DrawArea : public QWidget, public FramePresenter {
  Q_OBJECT

 public:
  explicit DrawArea(QWidget* parent = nullptr);

  // FramePresenter: keeps a copy of the drawing rectangle and repaints.
  void Present(const Surface& back, const Rect& drawRect) override;
  // While minimised nothing is shown, so frames are not copied either.
  bool HasFrame() const { return !frame_.isNull(); }
  const QImage& frame() const { return frame_; }
  int32_t presentCount() const { return presentCount_; }
  // Paced presentation (VSync): a frame reaches the screen only when the
  // play loop armed the presenter at a refresh, and at once; frames drawn in
  // between are dropped. Leaving it shows the last frame presented.
  void SetPaced(bool paced);
  bool paced() const { return paced_; }
  void ArmPresent() { armed_ = true; }

 signals:
  void DoubleClicked();
  void FramePresented();  // a paced frame was painted
  void LeftPressed(int x, int y);
  void LeftDragged(int x, int y);
  void LeftReleased(int x, int y);
  void Resized();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  QImage frame_;
  int32_t presentCount_ = 0;
  bool paced_ = false;
  bool armed_ = false;
};

}  // namespace vremo
