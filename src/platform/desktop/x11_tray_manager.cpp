#include "platform/desktop/x11_tray_manager.h"

#include <QGuiApplication>

#include "platform/desktop/toolkit_connection.h"
#include "platform/linux/xcb/xcb_requests.h"

namespace halvard {

X11TrayManager::X11TrayManager(QObject* parent) : QObject(parent) {
  m_connection = toolkitConnection();
  if (!m_connection) return;
  m_selection = internAtom(m_connection, ("_NET_SYSTEM_TRAY_S" + QByteArray::number(screenNumber())).constData());
  m_managerMessage = internAtom(m_connection, "MANAGER");
  qGuiApp->installNativeEventFilter(this);
  m_owner = watchedOwner();
}

X11TrayManager::~X11TrayManager() = default;

std::uint32_t X11TrayManager::watchedOwner() const {
  const auto question = xcb_get_selection_owner(m_connection, m_selection);
  const XcbReply<xcb_get_selection_owner_reply_t> answer(
      xcb_get_selection_owner_reply(m_connection, question, nullptr));
  if (!answer || answer->owner == XCB_NONE) return XCB_NONE;
  const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  const auto watch = xcb_change_window_attributes_checked(m_connection, answer->owner, XCB_CW_EVENT_MASK, &mask);
  const XcbReply<xcb_generic_error_t> error(xcb_request_check(m_connection, watch));
  return error ? std::uint32_t{XCB_NONE} : answer->owner;  // an error: it went away meanwhile
}

bool X11TrayManager::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
  if (eventType != "xcb_generic_event_t") return false;
  constexpr std::uint8_t kSentByClient = 0x80;
  const auto* event = static_cast<const xcb_generic_event_t*>(message);
  const std::uint8_t type = event->response_type & static_cast<std::uint8_t>(~kSentByClient);
  if (type == XCB_CLIENT_MESSAGE) {
    const auto* sent = reinterpret_cast<const xcb_client_message_event_t*>(event);
    if (sent->type == m_managerMessage && sent->data.data32[1] == m_selection) update();
  } else if (type == XCB_DESTROY_NOTIFY) {
    if (reinterpret_cast<const xcb_destroy_notify_event_t*>(event)->window == m_owner) update();
  }
  return false;
}

void X11TrayManager::update() {
  const std::uint32_t owner = watchedOwner();
  if (owner == m_owner) return;
  m_owner = owner;
  Q_EMIT changed();
}

}  // namespace halvard
