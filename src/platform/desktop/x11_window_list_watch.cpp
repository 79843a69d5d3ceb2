#include "platform/desktop/x11_window_list_watch.h"

#include <QGuiApplication>

#include "platform/desktop/toolkit_connection.h"
#include "platform/linux/xcb/xcb_requests.h"

namespace halvard {

X11WindowListWatch::X11WindowListWatch() {
  xcb_connection_t* const connection = toolkitConnection();
  m_list = connection ? internAtom(connection, "_NET_CLIENT_LIST") : xcb_atom_t{XCB_ATOM_NONE};
  if (m_list == XCB_ATOM_NONE) return;
  m_changes = std::make_shared<std::atomic<std::uint32_t>>(0);
  qGuiApp->installNativeEventFilter(this);
}

bool X11WindowListWatch::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
  if (eventType != "xcb_generic_event_t") return false;
  const auto* event = static_cast<const xcb_property_notify_event_t*>(message);
  if ((event->response_type & 0x7F) == XCB_PROPERTY_NOTIFY && event->atom == m_list) ++*m_changes;
  return false;
}

}  // namespace halvard
