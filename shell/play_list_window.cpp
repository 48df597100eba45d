// The play-list window: rows, menu, keys and dragging over a PlayList.
#include "shell/play_list_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QListWidget>
#include <QMenuBar>
#include <QMouseEvent>
#include <QStringList>
#include <QVBoxLayout>

#include "shell/file_dialog_filter.h"
#include "shell/play_list.h"
#include "shell/qt_text.h"
#include "shell/window_placement.h"

namespace vremo {
namespace {

constexpr int kInitialWidth = 420;
constexpr int kInitialHeight = 360;
constexpr std::string_view kSearchingCaption = "searching files...";

}  // namespace

PlayListWindow::PlayListWindow(PlayList& list, QWidget* parent) : QWidget(parent, Qt::Window), list_(list) {
  setObjectName("frmPlayList");
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(4, 4, 4, 4);
  MakeMenu();
  column->setMenuBar(menu_);
  lstPlayList = new QListWidget;
  lstPlayList->setObjectName("lstPlayList");
  lstPlayList->setToolTip(
      tr("Double-click or Enter plays a chart; drag a row or use Alt+Up / Alt+Down to reorder; Delete removes it"));
  lstPlayList->setUniformItemSizes(true);
  lstPlayList->installEventFilter(this);
  lstPlayList->viewport()->installEventFilter(this);
  connect(lstPlayList, &QListWidget::itemDoubleClicked, this,
          [this](QListWidgetItem* item) { list_.ListPlay(lstPlayList->row(item)); });
  column->addWidget(lstPlayList, 1);

  auto* switches = new QHBoxLayout;
  const std::array<QString, 2> captions = {tr("Rep 1"), tr("Rep All")};
  const std::array<QString, 2> tips = {tr("Repeat the current chart"),
                                       tr("Start again at the top after the last chart")};
  for (size_t i = 0; i < chkRep.size(); ++i) {
    chkRep[i] = new QCheckBox(captions[i]);
    chkRep[i]->setObjectName(QString("chkRep%1").arg(i));
    chkRep[i]->setToolTip(tips[i]);
    switches->addWidget(chkRep[i]);
  }
  switches->addStretch(1);
  connect(chkRep[0], &QCheckBox::toggled, this, [this](bool on) { list_.SetRepeatOne(on); });
  connect(chkRep[1], &QCheckBox::toggled, this, [this](bool on) { list_.SetRepeatAll(on); });
  column->addLayout(switches);
  resize(kInitialWidth, kInitialHeight);
  lastPlaySerial_ = list_.playSerial();
  Refresh();
}

void PlayListWindow::MakeMenu() {
  menu_ = new QMenuBar(this);
  QMenu* add = menu_->addMenu(tr("&Add"));
  add->addAction(tr("&Files..."), this, &PlayListWindow::AddFiles)->setToolTip(tr("Add chart files to the end"));
  add->addAction(tr("F&older..."), this, [this] { AddFolder(); })
      ->setToolTip(tr("Add every chart in a folder and its subfolders"));
  QMenu* file = menu_->addMenu(tr("&List"));
  file->addAction(tr("&Open list..."), this, &PlayListWindow::LoadList);
  file->addAction(tr("&Save list..."), this, &PlayListWindow::SaveList);
  file->addSeparator();
  file->addAction(tr("&Remove selected"), this, [this] { list_.ListRemove(lstPlayList->currentRow()); });
  file->addAction(tr("&Clear"), this, [this] { list_.ListClear(); });
  add->setToolTipsVisible(true);
}

void PlayListWindow::Refresh() {
  setWindowTitle(QString::fromStdString(list_.caption()));
  const auto& rows = list_.rows();
  // Rows are rewritten in place (a drag swaps two at a time); only a change
  // of length builds the list again.
  if (lstPlayList->count() == static_cast<int>(rows.size())) {
    for (int i = 0; i < lstPlayList->count(); ++i) {
      const QString text = QString::fromStdString(rows[static_cast<size_t>(i)]);
      if (lstPlayList->item(i)->text() != text) lstPlayList->item(i)->setText(text);
    }
  } else {
    const int selected = lstPlayList->currentRow();
    lstPlayList->setUpdatesEnabled(false);
    lstPlayList->clear();
    for (const auto& row : rows) lstPlayList->addItem(QString::fromStdString(row));
    if (selected >= 0 && selected < lstPlayList->count()) lstPlayList->setCurrentRow(selected);
    lstPlayList->setUpdatesEnabled(true);
  }
  if (list_.playSerial() != lastPlaySerial_) {
    lastPlaySerial_ = list_.playSerial();
    lstPlayList->setCurrentRow(list_.currentIndex());
  }
}

void PlayListWindow::RestorePlacement(const WindowPlacement& placement) {
  if (placement.width > 0 && placement.height > 0) placed_ = true;
  ApplyPlacement(*this, placement);
}

void PlayListWindow::showEvent(QShowEvent* event) {
  placed_ = true;
  QWidget::showEvent(event);
}

WindowPlacement PlayListWindow::Placement() const {
  return PlacementOf(*this, normalGeometry().isValid() ? normalGeometry() : geometry());
}

// --- Menu actions.

void PlayListWindow::AddFiles() {
  const QStringList paths =
      QFileDialog::getOpenFileNames(this, tr("Add charts"), QDir::currentPath(), DialogFilter(kChartFileFilter));
  for (const QString& path : paths) list_.ListAdd(path.toStdString());
}

void PlayListWindow::AddFolder(const QString& chosen) {
  const QString folder = chosen.isEmpty()
                             ? QFileDialog::getExistingDirectory(this, ToQString(kAddFolderTitle), QDir::currentPath())
                             : chosen;
  if (folder.isEmpty()) return;
  // A deep folder takes a moment: say so where the user looks.
  setWindowTitle(ToQString(kSearchingCaption));
  QApplication::setOverrideCursor(Qt::WaitCursor);
  list_.ListAddFolder(folder.toStdString());
  QApplication::restoreOverrideCursor();
  Refresh();
}

void PlayListWindow::LoadList() {
  QFileDialog dialog(this, tr("Open a play list"), QDir::currentPath(), DialogFilter(kListFileFilter));
  dialog.setAcceptMode(QFileDialog::AcceptOpen);
  dialog.setFileMode(QFileDialog::ExistingFile);
  dialog.setDefaultSuffix("vrl");
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return;
  list_.ListLoad(dialog.selectedFiles().front().toStdString(), false);
}

void PlayListWindow::SaveList() {
  QFileDialog dialog(this, tr("Save the play list"), QDir::currentPath(), DialogFilter(kListFileFilter));
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setDefaultSuffix("vrl");
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return;
  list_.ListSave(dialog.selectedFiles().front().toStdString());
}

// --- Keys and dragging.

int PlayListWindow::RowUnderMouse(int y) const {
  const int count = lstPlayList->count();
  if (count == 0) return -1;
  const int top = std::max(0, lstPlayList->indexAt(QPoint(0, 0)).row());
  const int itemHeight = std::max(1, lstPlayList->sizeHintForRow(0));
  const int row = top + std::max(0, y) / itemHeight;
  return std::min(row, count - 1);
}

void PlayListWindow::MoveSelected(int step) {
  const int from = lstPlayList->currentRow();
  const int to = from + step;
  if (from < 0 || to < 0 || to >= lstPlayList->count()) return;
  list_.ListMove(from, to);
  lstPlayList->setCurrentRow(to);
}

bool PlayListWindow::ListKeyDown(int key, Qt::KeyboardModifiers modifiers) {
  const int selected = lstPlayList->currentRow();
  if (selected < 0 || lstPlayList->selectedItems().isEmpty()) return false;
  const bool alt = modifiers & Qt::AltModifier;
  if (alt && key == Qt::Key_Down) {
    MoveSelected(1);
  } else if (alt && key == Qt::Key_Up) {
    MoveSelected(-1);
  } else if (key == Qt::Key_Delete) {
    list_.ListRemove(selected);
  } else if (key == Qt::Key_Return || key == Qt::Key_Enter) {
    list_.ListPlay(selected);
  } else {
    return false;
  }
  return true;
}

bool PlayListWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == lstPlayList && event->type() == QEvent::KeyPress) {
    const auto* key = static_cast<QKeyEvent*>(event);
    return ListKeyDown(key->key(), key->modifiers());
  }
  if (watched != lstPlayList->viewport()) return false;
  const QEvent::Type type = event->type();
  if (type != QEvent::MouseButtonPress && type != QEvent::MouseMove && type != QEvent::MouseButtonRelease) {
    return false;
  }
  const auto* mouse = static_cast<QMouseEvent*>(event);
  const int y = mouse->position().toPoint().y();
  if (type == QEvent::MouseButtonPress && mouse->button() == Qt::LeftButton) {
    dragFrom_ = RowUnderMouse(y);
  } else if (type == QEvent::MouseMove && (mouse->buttons() & Qt::LeftButton) && dragFrom_ >= 0) {
    const int to = RowUnderMouse(y);
    if (to >= 0 && to != dragFrom_) {
      list_.ListMove(dragFrom_, to);
      dragFrom_ = to;
      lstPlayList->setCurrentRow(to);
      return true;
    }
  } else if (type == QEvent::MouseButtonRelease) {
    dragFrom_ = -1;
  }
  return false;
}

}  // namespace vremo
