#pragma once

#include <QStringList>

#include "cli/command.h"

namespace halvard {

class DefaultsStore;

/// `defaults read [KEY] | write KEY -KIND VALUE | delete KEY | keys`. Keys are those of the program; a path, under
/// which a grant for a folder is kept, is a key too.
int runDefaultsCommand(const QStringList& arguments, DefaultsStore& store, const CommandOutput& output);

}  // namespace halvard
