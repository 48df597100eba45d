#pragma once
// The play-list window `frmPlayList`: the list box `lstPlayList` with one
// row per chart, the repeat switches `chkRep` ("Rep 1", "Rep All"), a menu
// for adding charts and folders and for loading and saving list files, keys
// (Alt+Up / Alt+Down move the selected entry, Delete removes it, Enter plays
// it) and reordering by dragging a row. It shows a PlayList and forwards
// every action to it; the list tells it to refresh through Refresh().
// UI thread only.

#include <QWidget>
#include <array>
#include <string>

#include "play/settings.h"

class QCheckBox;
class QListWidget;
class QMenuBar;

namespace vremo {

class PlayList;

class PlayListWindow : public QWidget {
  Q_OBJECT

 public:
  PlayListWindow(PlayList& list, QWidget* parent);

  // Rows, caption and the played entry's selection, from the list.
  void Refresh();

  // The saved position, size and state, and where it is now.
  void RestorePlacement(const WindowPlacement& placement);
  WindowPlacement Placement() const;
  // Whether it has been shown or given a saved place: a window that never
  // was on screen has no place worth saving.
  bool HasPlace() const { return placed_; }

  // The menu's actions (the dialogs, then the list routines).
  void AddFiles();
  void AddFolder(const QString& folder = {});
  void LoadList();
  void SaveList();

  // The row the mouse is over, for a point in the list's viewport: the top
  // row plus whole item heights, at most the last row.
  int RowUnderMouse(int y) const;

  QListWidget* list() const { return lstPlayList; }
  QCheckBox* repeatSwitch(int item) const { return chkRep[static_cast<size_t>(item)]; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  bool ListKeyDown(int key, Qt::KeyboardModifiers modifiers);
  void MoveSelected(int step);
  void MakeMenu();

  PlayList& list_;
  QMenuBar* menu_ = nullptr;
  QListWidget* lstPlayList = nullptr;
  std::array<QCheckBox*, 2> chkRep{};
  int lastPlaySerial_ = 0;
  int dragFrom_ = -1;
  bool placed_ = false;
};

}  // namespace vremo
