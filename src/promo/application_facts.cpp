#include "promo/application_facts.h"

#include <QStringList>

namespace halvard {

QString ApplicationFacts::getAppReleaseVersionWithBuildNumber() const {
  if (version.isEmpty() || buildVersion.isEmpty() || version == buildVersion) return version;
  return QStringLiteral("%1 (%2)").arg(version, buildVersion);
}

QString ApplicationFacts::buildAppVersionWithNumbersCount(int count) const {
  return version.split(QLatin1Char('.')).mid(0, count).join(QLatin1Char('.'));
}

}  // namespace halvard
