#pragma once

#include <QString>
#include <optional>

namespace halvard {

/// Answers which of the version-dependent paths run. Nothing on this platform names such a version, so the version is
/// missing and the newest paths run; a test passes one to reach the older ones.
class MacOSVersion {
 public:
  explicit MacOSVersion(std::optional<QString> productVersion = std::nullopt);

  /// Numeric comparison of the running version with `version` ("10.9" is below "10.10"). True when the running version
  /// is missing, and when both `orLower` and `orHigher` are asked for; neither asks for equality.
  bool isMacOSHasVersion(const QString& version, bool orLower, bool orHigher) const;

  bool is_10_9_orHigher() const { return m_is_10_9_orHigher; }
  bool is_10_10_orHigher() const { return m_is_10_10_orHigher; }
  bool is_10_11_orHigher() const { return m_is_10_11_orHigher; }

 private:
  std::optional<QString> m_productVersion;
  bool m_is_10_9_orHigher;
  bool m_is_10_10_orHigher;
  bool m_is_10_11_orHigher;
};

}  // namespace halvard
