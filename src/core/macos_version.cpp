#include "core/macos_version.h"

#include <QVersionNumber>

namespace halvard {

MacOSVersion::MacOSVersion(std::optional<QString> productVersion)
    : m_productVersion(std::move(productVersion)),
      m_is_10_9_orHigher(isMacOSHasVersion(QStringLiteral("10.9"), false, true)),
      m_is_10_10_orHigher(isMacOSHasVersion(QStringLiteral("10.10"), false, true)),
      m_is_10_11_orHigher(isMacOSHasVersion(QStringLiteral("10.11"), false, true)) {}

bool MacOSVersion::isMacOSHasVersion(const QString& version, bool orLower, bool orHigher) const {
  if (!m_productVersion || (orLower && orHigher)) return true;
  const int order =
      QVersionNumber::compare(QVersionNumber::fromString(*m_productVersion), QVersionNumber::fromString(version));
  if (orLower) return order <= 0;
  if (orHigher) return order >= 0;
  return order == 0;
}

}  // namespace halvard
