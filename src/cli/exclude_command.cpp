#include "cli/exclude_command.h"

#include "preferences/cleaning_exclusions.h"

namespace halvard {

int runExcludeCommand(const QStringList& arguments, DefaultsStore& store, const CommandOutput& output) {
  CleaningExclusions exclusions(store);
  const QString verb = arguments.value(0);
  if (verb == QStringLiteral("list") && arguments.size() == 1) {
    for (const QString& name : exclusions.names())
      output.print(name);
    return kExitSuccess;
  }
  const bool adds = verb == QStringLiteral("add");
  if (arguments.size() != 2 || (!adds && verb != QStringLiteral("remove")))
    return output.fail(QStringLiteral("usage: exclude list | add APP | remove APP"), kExitUsage);
  const Result<void> changed = adds ? exclusions.add(arguments[1]) : exclusions.remove(arguments[1]);
  return changed ? kExitSuccess : output.fail(changed.error().message, kExitFailure);
}

}  // namespace halvard
