#pragma once
// The option panel's "Library" group: the library folders, "Add folder...",
// "Remove", "Scan now" and "Browse..." (shows the library window). It does nothing until the library window is
// attached (the command side makes it), and reads nothing until then either:
// a user who never adds a folder gets no library file. UI thread only.

#include <QGroupBox>
#include <QString>

class QListWidget;
class QPushButton;

namespace vremo {

class LibraryWindow;

class LibraryFoldersBox : public QGroupBox {
  Q_OBJECT

 public:
  explicit LibraryFoldersBox(QWidget* parent = nullptr);

  void Attach(LibraryWindow* window);
  // Adds the folder (asking with a dialog when `chosen` is empty).
  void AddFolder(const QString& chosen = {});
  void RemoveSelected();
  void ScanNow();
  void Refresh();

 protected:
  // Coming back to the window shows folders another Vremo added meanwhile.
  void changeEvent(QEvent* event) override;

 private:
  LibraryWindow* window_ = nullptr;
  QListWidget* lstFolders = nullptr;
  QPushButton* cmdAdd = nullptr;
  QPushButton* cmdRemove = nullptr;
  QPushButton* cmdScan = nullptr;
  QPushButton* cmdBrowse = nullptr;
};

}  // namespace vremo
