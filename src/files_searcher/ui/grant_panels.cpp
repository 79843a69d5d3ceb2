#include "files_searcher/ui/grant_panels.h"

#include <QFile>
#include <QFileDialog>

#include "widgets/alert_window.h"

namespace halvard {

void QtGrantPanels::chooseFolder(QWidget* parent, const QString& message, const QString& buttonTitle,
                                 const QByteArray& folder, Chosen done) {
  auto* const dialog = new QFileDialog(parent->window(), message, QFile::decodeName(folder));
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setFileMode(QFileDialog::Directory);
  dialog->setOption(QFileDialog::ShowDirsOnly);
  dialog->setLabelText(QFileDialog::Accept, buttonTitle);
  // Without a name in the field the button grants the folder that is shown.
  dialog->selectFile(QFile::decodeName(folder));
  QObject::connect(dialog, &QFileDialog::finished, parent, [dialog, done = std::move(done)](int result) {
    if (result != QDialog::Accepted) return done(std::nullopt);
    std::vector<QByteArray> folders;
    for (const QString& file : dialog->selectedFiles())
      folders.push_back(QFile::encodeName(file));
    done(std::move(folders));
  });
  dialog->open();
}

void QtGrantPanels::showAlert(QWidget* parent, const QString& message, const QString& information,
                              std::function<void()> dismissed) {
  auto* const alert = new AlertWindow({}, {message, information, {QObject::tr("OK")}}, parent->window());
  alert->setAttribute(Qt::WA_DeleteOnClose);
  QObject::connect(alert, &QDialog::finished, parent, [dismissed = std::move(dismissed)] { dismissed(); });
  alert->open();
}

}  // namespace halvard
