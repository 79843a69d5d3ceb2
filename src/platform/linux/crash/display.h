#pragma once

namespace halvard {

/// The environment names an X server or a Wayland compositor that accepts connections, and Qt is not told to draw into
/// the void.
bool hasDisplay();

}  // namespace halvard
