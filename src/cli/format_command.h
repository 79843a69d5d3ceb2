#pragma once

#include <QStringList>

#include "cli/command.h"

namespace halvard {

/// `format NAME BYTES`: prints a byte count with one of the size formatters.
int runFormatCommand(const QStringList& arguments, const CommandOutput& output);

}  // namespace halvard
