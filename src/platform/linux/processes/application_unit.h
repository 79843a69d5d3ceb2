#pragma once

#include <QByteArray>
#include <QStringList>
#include <cstdint>
#include <optional>
#include <string_view>

namespace halvard {

/// A unit of the service manager that holds one started application and everything it started.
struct ApplicationUnit {
  /// Path of its control group: the same for all its processes.
  QByteArray path;
  /// What its name may mean as the id of a desktop entry, without ".desktop", likeliest first.
  QStringList desktopIds;
  /// Whose session it belongs to; nothing when the path does not say.
  std::optional<std::uint32_t> user;
};

/// The application unit that the text of /proc/PID/cgroup names, in the unified hierarchy or in systemd's own of
/// version 1. These are units: below "app.slice" app-[LAUNCHER-]ID-NUMBER.scope, app-[LAUNCHER-]ID[@INSTANCE].service,
/// and anywhere flatpak-ID-NUMBER.scope and snap.SNAP.APP-UUID.scope. Of several in one path the innermost counts.
std::optional<ApplicationUnit> applicationUnit(std::string_view controlGroups);

/// Undoes the service manager's escapes: "\x2d" is "-". What is no escape stays.
QByteArray unescapeUnitName(std::string_view name);

}  // namespace halvard
