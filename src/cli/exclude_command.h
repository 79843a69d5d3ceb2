#pragma once

#include <QStringList>

#include "cli/command.h"

namespace halvard {

class DefaultsStore;

/// `exclude list | add APP | remove APP`: what a cleaning leaves alone, by the name of the application or of its
/// program. A running program asks the store at each cleaning, so that a change holds from its next one on.
int runExcludeCommand(const QStringList& arguments, DefaultsStore& store, const CommandOutput& output);

}  // namespace halvard
