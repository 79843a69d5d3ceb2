#pragma once

#include <QByteArray>
#include <QString>

namespace halvard {

/// Removes a folder of its own that the uninstaller tool creates in a wrong place.
namespace uninstaller_mistaken_folders_remover {

/// In `home`; nothing happens when there is none, or when the folder above cannot be written. A failure is logged.
void removeContainer(const QByteArray& home, const QString& appName, const QString& bundleIdentifier);

}  // namespace uninstaller_mistaken_folders_remover

}  // namespace halvard
