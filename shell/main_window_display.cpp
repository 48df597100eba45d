// MainWindow: full screen and back, the size list, DispResize, the layout
// file, minimising, auto-hide and the tray icon.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLayout>
#include <QRadioButton>
#include <QScreen>
#include <QStyle>
#include <QWindowStateChangeEvent>
#include <filesystem>

#include "chart/chart_text.h"
#include "chart/numbers.h"
#include "display/display_size.h"
#include "shell/draw_area.h"
#include "shell/main_window.h"
#include "shell/title_strip.h"

namespace vremo {

void MainWindow::SetScreenMode(bool full) {
  if (full == fullScreen()) return;
  layout_.loading = true;
  const bool hadPictures = media_->pictures().AnyLoaded();
  if (full) {
    savedPlacement_ = geometry();
    savedAutoHide_ = chkAutoHide->isChecked();
    savedWSize_ = optWSize[1]->isChecked();
    chkAutoHide->setChecked(true);
    optWSize[1]->setChecked(true);
    media_->ReleaseSurfaces();
    media_->SetFullScreenSize();
    showFullScreen();
  } else {
    media_->display().fullScreen = false;
    media_->ReleaseSurfaces();
    showNormal();
    setGeometry(savedPlacement_);
    chkAutoHide->setChecked(savedAutoHide_);
    optWSize[savedWSize_ ? 1 : 0]->setChecked(true);
  }
  layout_.loading = false;
  ApplyDrawSizeMode();
  ApplyAutoHide();
  media_->InitDirectDraw();
  DispResizeNow();
  // Pictures belong to the old surfaces: load the chart again.
  if (hadPictures) cmdReload_Click();
}

void MainWindow::DispResizeNow() {
  if (media_ == nullptr || layout_.loading || minimised_) return;
  // Surfaces are made in the widget's own (logical) pixels, which the layout
  // and the size list speak; on a scaled screen painting stretches them.
  const std::string caption = DispResize(picDraw->width(), picDraw->height(), layout_, *layoutContext_);
  if (!caption.empty()) lblCap->setText(QString::fromStdString(caption));
  renderer_->RequestBgaRefresh();
  if (!engine_->state().running) DrawIdleFrame();
}

void MainWindow::cmbSize_Change() {
  const auto factor = ParseNumber(FromUtf8(cmbSize->currentText().toStdString()));
  if (!factor) return;
  const auto size = RoundToInt32(kSizeUnitPixels * *factor);
  if (!size || *size == 0 || fullScreen()) return;
  // Sizes are read from a settled layout, not one a pending event will move.
  QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
  const QSize window(width() + (*size - picDraw->width()), height() + (*size - picDraw->height()));
  if (optWSize[1]->isChecked()) {
    fixedDrawSize_ = QSize(*size, *size);
    ApplyDrawSizeMode();
  }
  resize(window);
}

void MainWindow::ApplyDrawSizeMode() {
  if (optWSize[1]->isChecked() && !fullScreen() && fixedDrawSize_.isValid()) {
    picDraw->setFixedSize(fixedDrawSize_);
  } else {
    picDraw->setMinimumSize(kSizeUnitPixels, kSizeUnitPixels);
    picDraw->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
  }
}

void MainWindow::LoadLayout() {
  if (media_ == nullptr || !media_->DirectDrawExists()) return;
  LoadRect(RectPath(settings_.rect), layout_, *layoutContext_);
  renderer_->RequestBgaRefresh();
}

void MainWindow::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  // Keys let go while another window has the focus never send their
  // release here: let go of every lane now, so no long note stays held.
  if (event->type() == QEvent::ActivationChange && !isActiveWindow() && laneKeys_) laneKeys_->ReleaseAllKeys();
  if (event->type() != QEvent::WindowStateChange) return;
  // Nothing is seen while minimised: the play loop skips drawing.
  minimised_ = isMinimized();
  engine_->state().skipDrawing = minimised_;
}

void MainWindow::ApplyAutoHide() {
  const bool full = fullScreen();
  const bool hide = full || (chkAutoHide->isChecked() && engine_->state().running);
  for (QWidget* widget : hideable_) widget->setVisible(!hide);
  // Full screen is the picture alone: no title strip, no border.
  picTitle->setVisible(settings_.titleDisplay && !full);
  const int margin = full ? 0 : kWindowMargin;
  if (centralWidget() != nullptr) centralWidget()->layout()->setContentsMargins(margin, margin, margin, margin);
}

void MainWindow::MakeTrayIcon() {
  // Made even without a tray, so the caption always has somewhere to go;
  // shown only where a panel offers one.
  tray_ = new QSystemTrayIcon(style()->standardIcon(QStyle::SP_MediaPlay), this);
  tray_->setToolTip(windowTitle());
  connect(tray_, &QSystemTrayIcon::activated, this, [this] {
    showNormal();
    raise();
    activateWindow();
  });
  if (QSystemTrayIcon::isSystemTrayAvailable()) tray_->show();
}

void MainWindow::ModifyIcon(const QString& text) {
  if (tray_ != nullptr) tray_->setToolTip(text);
}

}  // namespace vremo
