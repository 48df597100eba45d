// DrawArea: the back surface on screen.
#include "shell/draw_area.h"

#include <QMouseEvent>
#include <QPainter>

namespace vremo {

DrawArea::DrawArea(QWidget* parent) : QWidget(parent) {
  setObjectName("picDraw");
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMinimumSize(64, 64);
  setMouseTracking(false);
}

void DrawArea::Present(const Surface& back, const Rect& drawRect) {
  if (paced_ && !armed_) return;  // a frame between two refreshes is never seen
  frame_ = back.image().copy(drawRect.left, drawRect.top, drawRect.Width(), drawRect.Height());
  ++presentCount_;
  if (!paced_) {
    update();
    return;
  }
  armed_ = false;
  repaint();  // now, at the refresh the loop waited for
  emit FramePresented();
}

void DrawArea::SetPaced(bool paced) {
  if (paced_ == paced) return;
  paced_ = paced;
  armed_ = false;
  if (!paced_) update();
}

void DrawArea::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  if (frame_.isNull()) {
    painter.fillRect(rect(), Qt::black);
    return;
  }
  painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
  painter.drawImage(rect(), frame_);
}

void DrawArea::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  emit Resized();
}

void DrawArea::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) emit DoubleClicked();
}

void DrawArea::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) emit LeftPressed(event->position().x(), event->position().y());
}

void DrawArea::mouseMoveEvent(QMouseEvent* event) {
  if (event->buttons() & Qt::LeftButton) emit LeftDragged(event->position().x(), event->position().y());
}

void DrawArea::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) emit LeftReleased(event->position().x(), event->position().y());
}

}  // namespace vremo
