#pragma once

#include "platform/linux/xdg/xdg_login_item_service.h"

namespace halvard {

/// Start at login for the programs of Halvard that stand in `programFolder`: the launcher, and, for entries of old, the
/// program itself. Works on the autostart folders of this session.
XdgLoginItemService loginItemService(const QString& programFolder);

}  // namespace halvard
