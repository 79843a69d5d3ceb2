#include "lifecycle/own_bundle.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "files_searcher/path_utilities.h"
#include "platform/ports/standard_folders.h"

namespace halvard {
namespace {

const QString kAppRun = QStringLiteral("AppRun");

QString resolved(const QString& path) {
  return path.isEmpty() ? QString() : QFileInfo(path).canonicalFilePath();
}

bool isInside(const QString& folder, const QString& file) {
  return !folder.isEmpty() && path_utilities::isParentPathForPath(QFile::encodeName(folder), QFile::encodeName(file));
}

}  // namespace

RunningProgram RunningProgram::fromEnvironment() {
  return {resolved(QCoreApplication::applicationFilePath()), resolved(qEnvironmentVariable("APPIMAGE")),
          resolved(qEnvironmentVariable("APPDIR"))};
}

std::optional<QString> ownBundle(const RunningProgram& program) {
  // The two variables are inherited by everything that an AppImage starts.
  if (!program.appImage.isEmpty() && isInside(program.appDir, program.executable)) return program.appImage;
  QDir folder = QFileInfo(program.executable).dir();
  while (!folder.isRoot()) {
    if (QFileInfo(folder.filePath(kAppRun)).isExecutable()) return folder.path();
    if (!folder.cdUp()) break;
  }
  return std::nullopt;
}

QString programOfBundle(const QString& bundle) {
  return QFileInfo(bundle).isDir() ? bundle + QLatin1Char('/') + kAppRun : bundle;
}

QStringList applicationsDirectories(const StandardFolders& folders) {
  QStringList directories;
  for (const QByteArray& folder : folders.localApplications())
    directories << QFile::decodeName(folder);
  directories << QFile::decodeName(folders.userApplications());
  for (const char* folder : {"/usr", "/usr/local", "/app", "/snap", "/var/lib/flatpak"})
    directories << QString::fromLatin1(folder);
  for (const QString& folder : QStringList(directories))
    directories << resolved(folder);
  directories.removeAll(QString());
  directories.removeDuplicates();
  return directories;
}

}  // namespace halvard
