#pragma once

#include <QString>
#include <QStringList>

namespace halvard {

/// Where entries for programs that start at login stand.
struct AutostartDirectories {
  /// The only one that is written. An entry in it stands for every entry of the same name in the others.
  QString user;
  /// The most important first.
  QStringList system;

  /// "autostart" below $XDG_CONFIG_HOME (or ~/.config) and below each of $XDG_CONFIG_DIRS (or /etc/xdg).
  static AutostartDirectories standard();
};

/// The desktops this session calls itself ($XDG_CURRENT_DESKTOP).
QStringList currentDesktops();

}  // namespace halvard
