#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace halvard {

class StandardFolders;

/// How the running program was started. Paths are absolute, links resolved; empty where there is none.
struct RunningProgram {
  /// The program file.
  QString executable;
  /// What the runtime of an AppImage says: the file itself ($APPIMAGE), and the folder it is mounted on ($APPDIR).
  QString appImage;
  QString appDir;

  static RunningProgram fromEnvironment();
};

/// The bundle that `program` belongs to: its AppImage, else the nearest folder above it with a program "AppRun".
/// Nothing for a program that is installed otherwise.
std::optional<QString> ownBundle(const RunningProgram& program);

/// What starts the program of a bundle.
QString programOfBundle(const QString& bundle);

/// Every folder for applications: the machine's, the user's, the system's; also what a link among them leads to, which
/// is where a running program finds itself.
QStringList applicationsDirectories(const StandardFolders& folders);

}  // namespace halvard
