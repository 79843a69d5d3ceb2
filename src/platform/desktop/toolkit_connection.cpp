#include "platform/desktop/toolkit_connection.h"

#include <QGuiApplication>
#include <cstring>

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

xcb_atom_t internAtom(xcb_connection_t* connection, const char* name) {
  const auto question = ::xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
  const XcbAnswer<xcb_intern_atom_reply_t> answer(::xcb_intern_atom_reply(connection, question, nullptr));
  return answer ? answer->atom : xcb_atom_t{XCB_ATOM_NONE};
}

}  // namespace halvard
