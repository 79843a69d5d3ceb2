#pragma once

#include <QStringList>

#include "cli/command.h"

namespace halvard {

class RunAtLoginManager;
class ShowcaseDefaults;

/// `login on|off|status`: start at login through the launcher, asked of the desktop and changed there. A change also
/// ends the offer to switch it on, as the box in the preferences window does.
int runLoginCommand(const QStringList& arguments, RunAtLoginManager& startAtLogin, ShowcaseDefaults& defaults,
                    const CommandOutput& output);

}  // namespace halvard
