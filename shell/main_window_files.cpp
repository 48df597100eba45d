// MainWindow: play records (the record switch's buttons and dialogs),
// dropped files and the message boxes the command side shows.
#include <QDir>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QGuiApplication>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <iostream>

#include "shell/file_dialog_filter.h"
#include "shell/library_folders_box.h"
#include "shell/main_window.h"
#include "shell/record_file.h"

namespace vremo {
namespace {

// Platforms that draw nowhere a user could see.
bool HasScreen() {
  const QString platform = QGuiApplication::platformName();
  return platform != "offscreen" && platform != "minimal";
}

}  // namespace

void MainWindow::ShowCriticalMessage(const std::string& text, const std::string& title) {
  auto* box = new QMessageBox(QMessageBox::Critical, QString::fromStdString(title), QString::fromStdString(text),
                              QMessageBox::Ok, this);
  box->setObjectName("messageBox");
  box->setAttribute(Qt::WA_DeleteOnClose);
  if (!shutDownDone_) {
    box->open();
    return;
  }
  // The program ends right after shut-down, and a box that does not wait
  // would never be seen: the message goes to the log and standard error,
  // and on a real screen the box waits for the user.
  log_.PutLog(title + ": " + text);
  std::cerr << "vremo: " << title << ": " << text << std::endl;
  if (HasScreen()) {
    box->exec();
  } else {
    delete box;
  }
}

void MainWindow::SetPlayListWindow(QWidget* window) {
  playListWindow_ = window;
  cmdPlayList->setEnabled(window != nullptr);
}

void MainWindow::SetLibraryWindow(LibraryWindow* window) { libraryBox_->Attach(window); }

void MainWindow::cmdRecSave_Click() {
  if (engine_->record().length() == 0) return;
  const QString answer = QFileDialog::getSaveFileName(this, tr("Save the play record"), QDir::currentPath(),
                                                      DialogFilter(kRecordFileFilter));
  if (answer.isEmpty()) return;
  if (!SaveRecord(answer.toStdString(), engine_->record(), RecordChartOf(*chart_), &log_)) {
    // Not a message the old program had: a full disk must not pass in silence.
    log_.PutLog("record save failed: " + answer.toStdString());
  }
}

void MainWindow::LoadRecordFile(const std::string& path) {
  std::string name = path;
  if (name.empty()) {
    name = QFileDialog::getOpenFileName(this, tr("Load a play record"), QDir::currentPath(),
                                        DialogFilter(kRecordFileFilter))
               .toStdString();
    if (name.empty()) return;
  }
  if (auto message = LoadRecord(name, RecordChartOf(*chart_), engine_->record(), log_)) {
    ShowCriticalMessage(message->text, message->title);
  }
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
  std::vector<std::string> paths;
  for (const QUrl& url : event->mimeData()->urls()) {
    if (url.isLocalFile()) paths.push_back(url.toLocalFile().toStdString());
  }
  if (paths.empty()) return;
  event->acceptProposedAction();
  FilesDropped(paths);
}

void MainWindow::FilesDropped(const std::vector<std::string>& paths) {
  if (paths.empty()) return;
  if (QString::fromStdString(paths.front()).endsWith(".vpd", Qt::CaseInsensitive)) {
    LoadRecordFile(paths.front());
  } else if (dropHandler_) {
    dropHandler_(paths);
  } else {
    engine_->RequestStop();
    RequestPlay(paths.front());
  }
}

}  // namespace vremo
