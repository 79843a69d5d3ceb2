#pragma once

#include "platform/linux/xdg/xdg_login_item_service.h"

namespace halvard {

/// What asks the program, started from its AppImage, to be the launcher: the launcher beside it has no lasting path.
inline const QString kBeLauncher = QStringLiteral("--launcher");

/// Start at login for the programs of Halvard that stand in `programFolder`: the launcher, and, for entries of old, the
/// program itself.
std::vector<LoginJob> loginJobs(const QString& programFolder, const QString& appImage);

/// The AppImage that `programFolder` is mounted from, by the environment; empty when it is not.
QString mountedAppImage(const QString& programFolder);

/// For these jobs in the autostart folders of this session.
XdgLoginItemService loginItemService(const QString& programFolder);

}  // namespace halvard
