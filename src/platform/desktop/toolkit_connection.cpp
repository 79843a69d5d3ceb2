#include "platform/desktop/toolkit_connection.h"

#include <QGuiApplication>
#include <cstdlib>

namespace halvard {

xcb_connection_t* toolkitConnection() {
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  // Without a display the interface may be there with no connection behind it.
  return x11 ? x11->connection() : nullptr;
}

int screenNumber() {
  char* host = nullptr;
  int display = 0;
  int screen = 0;
  if (::xcb_parse_display(nullptr, &host, &display, &screen) == 0) return 0;
  std::free(host);
  return screen;
}

}  // namespace halvard
