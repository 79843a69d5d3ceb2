#pragma once

#include <QString>

namespace halvard {

/// Programs that a desktop waits for whatever else it does: compositors and window managers, X servers, sound servers,
/// input methods, panels that host tray icons, message buses, the service manager and its services. Their memory is
/// never paged out. `name` is the file name of the executable, or the command name.
bool isProtectedProgram(const QString& name);

/// X servers and Wayland compositors: where one runs, somebody may look at a screen.
bool isDisplayServer(const QString& name);

}  // namespace halvard
