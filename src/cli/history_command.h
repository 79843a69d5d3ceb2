#pragma once

#include <QStringList>

#include "cli/command.h"

namespace halvard {

class DefaultsStore;

/// `history [-n N] [--json]`: the latest cleanings, the latest one last.
int runHistoryCommand(const QStringList& arguments, DefaultsStore& store, const CommandOutput& output);

}  // namespace halvard
