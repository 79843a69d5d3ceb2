#pragma once

namespace halvard::crash_handler {

/// Ends this process's connections to X servers: its windows go, and so does a grab of mouse or keyboard, with which an
/// open menu would keep the alert from being answered. For a crash of the main thread, which alone uses them; then
/// nobody notices. Async-signal-safe.
void endDisplayConnections();

}  // namespace halvard::crash_handler
