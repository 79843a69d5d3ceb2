#include "platform/linux/xdg/halvard_login_jobs.h"

#include "core/application_identity.h"

namespace halvard {

XdgLoginItemService loginItemService(const QString& programFolder) {
  const QString& identifier = application_identity::kBundleIdentifier;
  const QString& name = application_identity::kDisplayName;
  return {AutostartDirectories::standard(),
          currentDesktops(),
          {{identifier + QStringLiteral(".launcher"), name, {programFolder + QStringLiteral("/halvard-launcher")}},
           {identifier, name, {programFolder + QStringLiteral("/halvard")}}}};
}

}  // namespace halvard
