#pragma once

#include <QStringList>

#include "cli/command.h"

namespace halvard {

class ControlClient;
class DefaultsStore;

/// `preferences`: every preference with its value, default and meaning. `preferences NAME`: the value of one.
/// `preferences NAME VALUE`: changes one. Done by the program where one runs, so that it takes effect at once; else in
/// the stored settings.
int runPreferencesCommand(const QStringList& arguments, DefaultsStore& store, ControlClient& control,
                          const CommandOutput& output);

}  // namespace halvard
