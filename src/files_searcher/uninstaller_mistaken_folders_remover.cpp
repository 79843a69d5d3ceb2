#include "files_searcher/uninstaller_mistaken_folders_remover.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace halvard::uninstaller_mistaken_folders_remover {

void removeContainer(const QByteArray& home, const QString& appName, const QString& bundleIdentifier) {
  // A name that leads elsewhere would remove something else.
  if (appName.isEmpty() || bundleIdentifier.isEmpty() || (appName + bundleIdentifier).contains(QLatin1Char('/')) ||
      appName.startsWith(QLatin1Char('.')) || bundleIdentifier.startsWith(QLatin1Char('.')))
    return;
  const QString parent =
      QFile::decodeName(home) +
      QStringLiteral("/Library/Containers/%1/Data/Library/Application Support").arg(bundleIdentifier);
  QDir folder(parent + QLatin1Char('/') + appName);
  if (!folder.exists() || !QFileInfo(parent).isWritable()) return;
  if (!folder.removeRecursively())
    qWarning().noquote() << "removeContainerWithAppName:bundleIdentifier:" << folder.path();
}

}  // namespace halvard::uninstaller_mistaken_folders_remover
