#pragma once

#include <xcb/xcb.h>

namespace halvard {

/// The toolkit's connection to the X server; null on other platforms. Main thread.
xcb_connection_t* toolkitConnection();

/// The number of the screen that DISPLAY names.
int screenNumber();

}  // namespace halvard
