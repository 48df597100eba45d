// The option panel's library folders.
#include "shell/library_folders_box.h"

#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QGridLayout>
#include <QListWidget>
#include <QPushButton>

#include "shell/control_helpers.h"
#include "shell/library_window.h"
#include "shell/qt_text.h"

namespace vremo {
namespace {

// A few rows are enough: the panel must still fit a small window.
constexpr int kFolderListRows = 3;

}  // namespace

LibraryFoldersBox::LibraryFoldersBox(QWidget* parent) : QGroupBox(ToQString(kLibraryTitle), parent) {
  setObjectName("grpLibrary");
  auto* grid = new QGridLayout(this);
  lstFolders = new QListWidget;
  lstFolders->setObjectName("lstLibraryFolders");
  lstFolders->setToolTip(tr("Folders whose charts the library holds"));
  lstFolders->setFocusPolicy(Qt::NoFocus);
  lstFolders->setMaximumHeight(lstFolders->fontMetrics().height() * (kFolderListRows + 1));
  cmdAdd = MakeButton("cmdLibraryFolderAdd", tr("Add folder..."), tr("Add a folder of songs to the library"));
  cmdRemove = MakeButton("cmdLibraryFolderRemove", tr("Remove"), tr("Take the selected folder out of the library"));
  cmdScan = MakeButton("cmdLibraryScanNow", tr("Scan now"), tr("Read what changed in the library folders"));
  connect(cmdAdd, &QPushButton::clicked, this, [this] { AddFolder(); });
  connect(cmdRemove, &QPushButton::clicked, this, &LibraryFoldersBox::RemoveSelected);
  connect(cmdScan, &QPushButton::clicked, this, &LibraryFoldersBox::ScanNow);
  cmdBrowse = MakeButton("cmdLibrary", tr("Browse..."), tr("Show the chart library"));
  connect(cmdBrowse, &QPushButton::clicked, this, [this] {
    if (window_ == nullptr) return;
    window_->show();
    window_->raise();
    window_->activateWindow();
  });
  // Two buttons a row: the panel stays as narrow as it was.
  grid->addWidget(lstFolders, 0, 0, 1, 2);
  grid->addWidget(cmdAdd, 1, 0);
  grid->addWidget(cmdRemove, 1, 1);
  grid->addWidget(cmdScan, 2, 0);
  grid->addWidget(cmdBrowse, 2, 1);
  setEnabled(false);
}

void LibraryFoldersBox::Attach(LibraryWindow* window) {
  window_ = window;
  setEnabled(window != nullptr);
  if (window == nullptr) return;
  connect(window, &LibraryWindow::RootsChanged, this, &LibraryFoldersBox::Refresh);
  Refresh();
}

void LibraryFoldersBox::Refresh() {
  const QString current = lstFolders->currentItem() != nullptr ? lstFolders->currentItem()->text() : QString();
  lstFolders->clear();
  if (window_ == nullptr) return;
  for (const std::string& root : window_->Roots()) {
    lstFolders->addItem(ToQString(root));
    if (lstFolders->item(lstFolders->count() - 1)->text() == current)
      lstFolders->setCurrentRow(lstFolders->count() - 1);
  }
}

void LibraryFoldersBox::changeEvent(QEvent* event) {
  if (event->type() == QEvent::ActivationChange && isActiveWindow()) Refresh();
  QGroupBox::changeEvent(event);
}

void LibraryFoldersBox::AddFolder(const QString& chosen) {
  if (window_ == nullptr) return;
  const QString folder =
      chosen.isEmpty() ? QFileDialog::getExistingDirectory(this, tr("Add a library folder"), QDir::homePath()) : chosen;
  if (folder.isEmpty()) return;
  window_->AddRoot(QDir(folder).absolutePath().toStdString());
}

void LibraryFoldersBox::RemoveSelected() {
  QListWidgetItem* item = lstFolders->currentItem();
  if (window_ == nullptr || item == nullptr) return;
  window_->RemoveRoot(item->text().toStdString());
}

void LibraryFoldersBox::ScanNow() {
  if (window_ != nullptr) window_->StartScan();
}

}  // namespace vremo
