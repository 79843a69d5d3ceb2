#include "platform/linux/xdg/halvard_login_jobs.h"

#include <QFileInfo>

#include "core/application_identity.h"

namespace halvard {

std::vector<LoginJob> loginJobs(const QString& programFolder, const QString& appImage) {
  const QString& identifier = application_identity::kBundleIdentifier;
  const QString& name = application_identity::kDisplayName;
  const QString launcher = programFolder + QStringLiteral("/halvard-launcher");
  const QString program = programFolder + QStringLiteral("/halvard");
  const bool isMounted = !appImage.isEmpty();
  return {{identifier + QStringLiteral(".launcher"), name,
           isMounted ? QStringList{appImage, kBeLauncher} : QStringList{launcher}, launcher},
          {identifier, name, {isMounted ? appImage : program}, program}};
}

QString mountedAppImage(const QString& programFolder) {
  const QString folder = QFileInfo(qEnvironmentVariable("APPDIR")).canonicalFilePath();
  // The variables are inherited by everything that an AppImage starts.
  const bool isInside = !folder.isEmpty() && programFolder.startsWith(folder + QLatin1Char('/'));
  return isInside ? QFileInfo(qEnvironmentVariable("APPIMAGE")).canonicalFilePath() : QString();
}

XdgLoginItemService loginItemService(const QString& programFolder) {
  return {AutostartDirectories::standard(), currentDesktops(),
          loginJobs(programFolder, mountedAppImage(programFolder))};
}

}  // namespace halvard
