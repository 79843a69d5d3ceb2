#pragma once

#include <QString>

namespace halvard {

/// What the program says about itself. An immutable value.
struct ApplicationFacts {
  /// The short name, also of its folder for data; and the one for users, empty for the same.
  QString name;
  QString displayName;
  /// Like "4.2.1"; and the build's own number, empty when there is none.
  QString version;
  QString buildVersion;
  /// The operating system and its version.
  QString systemVersion;

  QString getAppDisplayName() const { return displayName.isEmpty() ? name : displayName; }
  /// "version (build)" when both exist and differ, else the version.
  QString getAppReleaseVersionWithBuildNumber() const;
  /// The first `count` components of the version.
  QString buildAppVersionWithNumbersCount(int count) const;
  QString buildAppVersionWith1Number() const { return buildAppVersionWithNumbersCount(1); }
};

}  // namespace halvard
