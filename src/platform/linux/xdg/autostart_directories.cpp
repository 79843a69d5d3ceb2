#include "platform/linux/xdg/autostart_directories.h"

#include <QStandardPaths>

namespace halvard {

AutostartDirectories AutostartDirectories::standard() {
  const QString autostart = QStringLiteral("/autostart");
  const auto location = QStandardPaths::GenericConfigLocation;
  AutostartDirectories directories{QStandardPaths::writableLocation(location) + autostart, {}};
  const QStringList folders = QStandardPaths::standardLocations(location);
  for (const QString& folder : folders.mid(1))
    directories.system << folder + autostart;
  return directories;
}

QStringList currentDesktops() {
  return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'), Qt::SkipEmptyParts);
}

}  // namespace halvard
