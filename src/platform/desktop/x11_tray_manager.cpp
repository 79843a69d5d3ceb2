#include "platform/desktop/x11_tray_manager.h"

#include <xcb/xcb.h>
#include <QGuiApplication>
#include <cstdlib>
#include <memory>

namespace halvard {

namespace {

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using Reply = std::unique_ptr<T, Free>;

int screenNumber() {
  char* host = nullptr;
  int display = 0;
  int screen = 0;
  if (xcb_parse_display(nullptr, &host, &display, &screen) == 0) return 0;
  std::free(host);
  return screen;
}

}  // namespace

X11TrayManager::X11TrayManager(QObject* parent) : QObject(parent) {
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  // Without a display the interface may be there with no connection behind it.
  if (!x11 || !x11->connection()) return;
  m_connection = x11->connection();
  m_selection = atom("_NET_SYSTEM_TRAY_S" + QByteArray::number(screenNumber()));
  m_managerMessage = atom("MANAGER");
  qGuiApp->installNativeEventFilter(this);
  m_owner = watchedOwner();
}

X11TrayManager::~X11TrayManager() = default;

std::uint32_t X11TrayManager::atom(const QByteArray& name) const {
  const auto cookie = xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.constData());
  const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_connection, cookie, nullptr));
  return reply ? reply->atom : std::uint32_t{XCB_ATOM_NONE};
}

std::uint32_t X11TrayManager::watchedOwner() const {
  const auto question = xcb_get_selection_owner(m_connection, m_selection);
  const Reply<xcb_get_selection_owner_reply_t> answer(xcb_get_selection_owner_reply(m_connection, question, nullptr));
  if (!answer || answer->owner == XCB_NONE) return XCB_NONE;
  const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  const auto watch = xcb_change_window_attributes_checked(m_connection, answer->owner, XCB_CW_EVENT_MASK, &mask);
  const Reply<xcb_generic_error_t> error(xcb_request_check(m_connection, watch));
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
