#pragma once

#include <QSet>
#include <QString>
#include <optional>

namespace halvard {

/// Applications that belong to the system and must never be offered for removal. Any thread.
class BundleExcludeList {
 public:
  BundleExcludeList();

  /// True as well without an identifier. Case does not count.
  bool isSystemBundleID(const std::optional<QString>& identifier) const;

 private:
  QSet<QString> m_identifiers;
};

}  // namespace halvard
