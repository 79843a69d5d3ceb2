#include "platform/desktop/x11_window_hints.h"

#include <QGuiApplication>
#include <vector>

#include "platform/desktop/toolkit_connection.h"
#include "platform/linux/xcb/xcb_requests.h"

namespace halvard {
namespace {

constexpr std::uint32_t kAllDesktops = 0xFFFFFFFF;

}  // namespace

void X11WindowHints::setPlace(std::uint64_t windowId, Desktops desktops, WindowList list) {
  xcb_connection_t* connection = toolkitConnection();
  if (!connection) return;
  const auto set = [&](const char* property, xcb_atom_t type, const std::vector<std::uint32_t>& values) {
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(windowId),
                        internAtom(connection, property), type, 32, static_cast<std::uint32_t>(values.size()),
                        values.data());
  };
  std::vector<xcb_atom_t> states;
  const auto add = [&](const char* state) { states.push_back(internAtom(connection, state)); };
  if (desktops == Desktops::All) {
    add("_NET_WM_STATE_STICKY");
    set("_NET_WM_DESKTOP", XCB_ATOM_CARDINAL, {kAllDesktops});
  }
  if (list == WindowList::Hidden) {
    add("_NET_WM_STATE_SKIP_TASKBAR");
    add("_NET_WM_STATE_SKIP_PAGER");
  }
  // The toolkit adds its own states to those that stand here when it maps the window.
  set("_NET_WM_STATE", XCB_ATOM_ATOM, states);
}

bool X11WindowHints::blendsWindows() const {
  xcb_connection_t* connection = toolkitConnection();
  if (!connection) return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
  const QByteArray manager = "_NET_WM_CM_S" + QByteArray::number(screenNumber());
  const auto cookie = xcb_get_selection_owner(connection, internAtom(connection, manager.constData()));
  const XcbReply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(connection, cookie, nullptr));
  return reply && reply->owner != XCB_WINDOW_NONE;
}

}  // namespace halvard
