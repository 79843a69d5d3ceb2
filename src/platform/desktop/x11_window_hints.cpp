#include "platform/desktop/x11_window_hints.h"

#include <xcb/xcb.h>
#include <QGuiApplication>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace halvard {
namespace {

xcb_atom_t atom(xcb_connection_t* connection, const char* name) {
  const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
  const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
      xcb_intern_atom_reply(connection, cookie, nullptr), std::free);
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

xcb_connection_t* applicationConnection() {
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  // Without a display the interface may be there with no connection behind it.
  return x11 ? x11->connection() : nullptr;
}

}  // namespace

void X11WindowHints::hideFromWindowList(std::uint64_t windowId) {
  xcb_connection_t* connection = applicationConnection();
  if (!connection) return;
  const std::array states{atom(connection, "_NET_WM_STATE_SKIP_TASKBAR"), atom(connection, "_NET_WM_STATE_SKIP_PAGER")};
  // The toolkit adds its own states to those that stand here when it maps the window.
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(windowId),
                      atom(connection, "_NET_WM_STATE"), XCB_ATOM_ATOM, 32, states.size(), states.data());
}

bool X11WindowHints::blendsWindows() const {
  xcb_connection_t* connection = applicationConnection();
  if (!connection) return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
  const auto cookie = xcb_get_selection_owner(connection, atom(connection, "_NET_WM_CM_S0"));
  const std::unique_ptr<xcb_get_selection_owner_reply_t, decltype(&std::free)> reply(
      xcb_get_selection_owner_reply(connection, cookie, nullptr), std::free);
  return reply && reply->owner != XCB_WINDOW_NONE;
}

}  // namespace halvard
