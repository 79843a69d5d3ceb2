#include "cli/login_command.h"

#include "login/run_at_login_manager.h"
#include "preferences/showcase_defaults.h"

namespace halvard {

int runLoginCommand(const QStringList& arguments, RunAtLoginManager& startAtLogin, ShowcaseDefaults& defaults,
                    const CommandOutput& output) {
  const QString verb = arguments.size() == 1 ? arguments[0] : QString();
  if (verb == QStringLiteral("status")) {
    output.print(startAtLogin.isEnabledToAutoLaunchWithHelperApp() ? QStringLiteral("on") : QStringLiteral("off"));
    return kExitSuccess;
  }
  const bool enable = verb == QStringLiteral("on");
  if (!enable && verb != QStringLiteral("off"))
    return output.fail(QStringLiteral("usage: login on|off|status"), kExitUsage);
  bool failed = false;
  startAtLogin.setIsEnabledForHelperApp(enable, [&failed] { failed = true; });
  if (failed) return output.fail(QStringLiteral("start at login could not be changed; it is as it was"), kExitFailure);
  defaults.setShowAutostartPopupAfterPurge(false);
  return kExitSuccess;
}

}  // namespace halvard
