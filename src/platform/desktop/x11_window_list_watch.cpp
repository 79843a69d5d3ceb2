#include "platform/desktop/x11_window_list_watch.h"

#include <QGuiApplication>

#include "platform/desktop/toolkit_connection.h"

namespace halvard {

namespace {

// Adds to what the toolkit asked for: a second choice of one client takes the place of the first.
bool listenToProperties(xcb_connection_t* connection) {
  auto screens = ::xcb_setup_roots_iterator(::xcb_get_setup(connection));
  for (int skipped = 0; skipped < screenNumber() && screens.rem > 1; ++skipped)
    ::xcb_screen_next(&screens);
  const xcb_window_t root = screens.data->root;
  const auto question = ::xcb_get_window_attributes(connection, root);
  const XcbAnswer<xcb_get_window_attributes_reply_t> answer(
      ::xcb_get_window_attributes_reply(connection, question, nullptr));
  if (!answer) return false;
  const std::uint32_t mask = answer->your_event_mask | XCB_EVENT_MASK_PROPERTY_CHANGE;
  if (mask != answer->your_event_mask) ::xcb_change_window_attributes(connection, root, XCB_CW_EVENT_MASK, &mask);
  return true;
}

}  // namespace

X11WindowListWatch::X11WindowListWatch() {
  xcb_connection_t* const connection = toolkitConnection();
  if (!connection || !listenToProperties(connection)) return;
  m_list = internAtom(connection, "_NET_CLIENT_LIST");
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
