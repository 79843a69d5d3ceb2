#include "platform/linux/x11/x11_connection.h"

#include <QByteArrayList>
#include <algorithm>
#include <array>

#include <sys/socket.h>
#include <xcb/res.h>

namespace halvard {

namespace {
constexpr std::uint32_t kLongestProperty = 4096;  // in units of 32 bits

// The kernel's word. There is none across a network, nor about a process of another pid namespace.
bool knowsPeer(int descriptor) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return ::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.pid > 0;
}

}  // namespace

std::unique_ptr<X11Windows::Connection> X11Windows::Connection::open(const QByteArray& display) {
  int screen = 0;
  xcb_connection_t* connection = ::xcb_connect(display.isEmpty() ? nullptr : display.constData(), &screen);
  std::unique_ptr<Connection> result(new Connection(connection, screen));
  return result->initialise() ? std::move(result) : nullptr;
}

X11Windows::Connection::Connection(xcb_connection_t* connection, int screen)
    : m_connection(connection), m_screen(screen) {}

X11Windows::Connection::~Connection() {
  if (m_hasAtoms) ::xcb_ewmh_connection_wipe(&m_ewmh);
  ::xcb_disconnect(m_connection);
}

bool X11Windows::Connection::isAlive() const {
  return ::xcb_connection_has_error(m_connection) == 0;
}

bool X11Windows::Connection::initialise() {
  if (!isAlive()) return false;
  m_isServerHere = knowsPeer(::xcb_get_file_descriptor(m_connection));
  if (!m_isServerHere) return true;
  m_hasAtoms = ::xcb_ewmh_init_atoms_replies(&m_ewmh, ::xcb_ewmh_init_atoms(m_connection, &m_ewmh), nullptr);
  if (!m_hasAtoms || m_screen >= m_ewmh.nb_screens) return false;
  m_root = m_ewmh.screens[m_screen]->root;
  m_gtkApplicationId = internAtom(m_connection, "_GTK_APPLICATION_ID");
  m_deleteWindow = internAtom(m_connection, "WM_DELETE_WINDOW");
  const xcb_query_extension_reply_t* extension = ::xcb_get_extension_data(m_connection, &xcb_res_id);
  if (extension && extension->present) {
    const XcbReply<xcb_res_query_version_reply_t> version(
        ::xcb_res_query_version_reply(m_connection, ::xcb_res_query_version(m_connection, 1, 2), nullptr));
    m_hasClientIds =
        version && (version->server_major > 1 || (version->server_major == 1 && version->server_minor >= 2));
  }
  return isAlive();
}

xcb_get_property_cookie_t X11Windows::Connection::askProperty(xcb_window_t window, xcb_atom_t property,
                                                              xcb_atom_t type) {
  return ::xcb_get_property(m_connection, 0, window, property, type, 0, kLongestProperty);
}

std::vector<std::uint32_t> X11Windows::Connection::numbers(xcb_get_property_cookie_t cookie) {
  const XcbReply<xcb_get_property_reply_t> reply(::xcb_get_property_reply(m_connection, cookie, nullptr));
  if (!reply || reply->format != 32) return {};
  const auto* first = static_cast<const std::uint32_t*>(::xcb_get_property_value(reply.get()));
  return {first, first + reply->value_len};
}

QByteArray X11Windows::Connection::text(xcb_get_property_cookie_t cookie) {
  const XcbReply<xcb_get_property_reply_t> reply(::xcb_get_property_reply(m_connection, cookie, nullptr));
  if (!reply || reply->format != 8) return {};
  return QByteArray(static_cast<const char*>(::xcb_get_property_value(reply.get())), reply->value_len);
}

std::vector<ApplicationWindow> X11Windows::Connection::windows() {
  // All questions go out before the first answer is awaited: two round trips for any number of windows.
  std::vector<Questions> asked;
  for (const xcb_window_t id : numbers(askProperty(m_root, m_ewmh._NET_CLIENT_LIST, XCB_ATOM_WINDOW)))
    asked.push_back(ask(id));
  std::vector<Known> known;
  std::vector<ApplicationWindow> result;
  for (const Questions& questions : asked) {
    const std::int32_t pid = pidOf(questions.pid);
    known.push_back(describe(questions, pid));
    const bool hidden = keepsOutOfTaskBars(questions);
    if (pid > 0 && known.back().isForApplications && !hidden) result.push_back(known.back().window);
  }
  m_known = std::move(known);
  return result;
}

bool X11Windows::Connection::hasDescribedAll() const {
  return std::ranges::none_of(m_known, [](const Known& known) { return known.window.id == 0; });
}

X11Windows::Connection::Questions X11Windows::Connection::ask(xcb_window_t window) {
  Questions questions;
  questions.id = window;
  // The pid each time: once its client has gone, the server gives a window's id to the next.
  questions.pid = askPid(window);
  questions.state = askProperty(window, m_ewmh._NET_WM_STATE, XCB_ATOM_ATOM);
  const bool isKnown = std::ranges::any_of(m_known, [&](const Known& known) { return known.window.id == window; });
  if (isKnown) return questions;
  questions.type = askProperty(window, m_ewmh._NET_WM_WINDOW_TYPE, XCB_ATOM_ATOM);
  questions.wmClass = askProperty(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING);
  questions.applicationId = askProperty(window, m_gtkApplicationId, XCB_GET_PROPERTY_TYPE_ANY);
  return questions;
}

unsigned int X11Windows::Connection::askPid(xcb_window_t window) {
  const xcb_res_client_id_spec_t spec{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
  return m_hasClientIds ? ::xcb_res_query_client_ids(m_connection, 1, &spec).sequence
                        : askProperty(window, m_ewmh._NET_WM_PID, XCB_ATOM_CARDINAL).sequence;
}

std::int32_t X11Windows::Connection::pidOf(unsigned int question) {
  if (!m_hasClientIds) {
    const auto values = numbers({question});
    return values.empty() ? 0 : static_cast<std::int32_t>(values.front());
  }
  const XcbReply<xcb_res_query_client_ids_reply_t> reply(
      ::xcb_res_query_client_ids_reply(m_connection, {question}, nullptr));
  if (!reply) return 0;
  for (auto ids = ::xcb_res_query_client_ids_ids_iterator(reply.get()); ids.rem > 0;
       ::xcb_res_client_id_value_next(&ids)) {
    const bool isPid = ids.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID;
    if (isPid && ids.data->length >= sizeof(std::uint32_t))
      return static_cast<std::int32_t>(*::xcb_res_client_id_value_value(ids.data));
  }
  return 0;
}

X11Windows::Connection::Known X11Windows::Connection::describe(const Questions& questions, std::int32_t pid) {
  const auto before =
      std::ranges::find_if(m_known, [&](const Known& known) { return known.window.id == questions.id; });
  if (before != m_known.end()) {
    // Another process's window now; it is described when it is seen again, as a new one.
    return before->window.pid == pid ? *before : Known{};
  }
  Known known;
  known.window.id = questions.id;
  known.window.pid = pid;
  const auto types = numbers(questions.type);
  const std::array wanted{m_ewmh._NET_WM_WINDOW_TYPE_NORMAL, m_ewmh._NET_WM_WINDOW_TYPE_DIALOG,
                          m_ewmh._NET_WM_WINDOW_TYPE_UTILITY};
  known.isForApplications =
      types.empty() || std::ranges::any_of(wanted, [&](xcb_atom_t type) { return types.front() == type; });
  const QByteArrayList halves = text(questions.wmClass).split('\0');
  known.window.instance = QString::fromUtf8(halves.value(0));
  known.window.className = QString::fromUtf8(halves.value(1));
  known.window.applicationId = QString::fromUtf8(text(questions.applicationId));
  return known;
}

bool X11Windows::Connection::keepsOutOfTaskBars(const Questions& questions) {
  const auto states = numbers(questions.state);
  return std::ranges::find(states, m_ewmh._NET_WM_STATE_SKIP_TASKBAR) != states.end();
}

std::vector<xcb_window_t> X11Windows::Connection::stackingOrder() {
  return numbers(askProperty(m_root, m_ewmh._NET_CLIENT_LIST_STACKING, XCB_ATOM_WINDOW));
}

std::int32_t X11Windows::Connection::pidOfWindow(xcb_window_t window) {
  return pidOf(askPid(window));
}

// The window manager's word; without one, the server's own.
xcb_window_t X11Windows::Connection::focusedWindow() {
  const auto active = numbers(askProperty(m_root, m_ewmh._NET_ACTIVE_WINDOW, XCB_ATOM_WINDOW));
  if (!active.empty() && active.front() != 0) return active.front();
  const XcbReply<xcb_get_input_focus_reply_t> focus(
      ::xcb_get_input_focus_reply(m_connection, ::xcb_get_input_focus(m_connection), nullptr));
  const bool isWindow = focus && focus->focus > XCB_INPUT_FOCUS_POINTER_ROOT && focus->focus != m_root;
  return isWindow ? focus->focus : 0;
}

xcb_window_t X11Windows::Connection::selectionOwner(xcb_atom_t selection) {
  const XcbReply<xcb_get_selection_owner_reply_t> reply(
      ::xcb_get_selection_owner_reply(m_connection, ::xcb_get_selection_owner(m_connection, selection), nullptr));
  return reply ? reply->owner : 0;
}

std::vector<xcb_window_t> X11Windows::Connection::windowsOfServants() {
  auto result = numbers(askProperty(m_root, m_ewmh._NET_SUPPORTING_WM_CHECK, XCB_ATOM_WINDOW));
  const QByteArray screen = QByteArray::number(m_screen);
  for (const char* const selection : {"_NET_WM_CM_S", "_NET_SYSTEM_TRAY_S"})
    result.push_back(selectionOwner(internAtom(m_connection, selection + screen)));
  for (const std::uint32_t inputMethod :
       numbers(askProperty(m_root, internAtom(m_connection, "XIM_SERVERS"), XCB_ATOM_ATOM)))
    result.push_back(selectionOwner(inputMethod));
  return result;
}

void X11Windows::Connection::activate(xcb_window_t window) {
  ::xcb_ewmh_request_change_active_window(&m_ewmh, m_screen, window, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER,
                                          XCB_CURRENT_TIME, XCB_NONE);
}

bool X11Windows::Connection::close(xcb_window_t window) {
  const auto supported = numbers(askProperty(m_root, m_ewmh._NET_SUPPORTED, XCB_ATOM_ATOM));
  if (std::ranges::find(supported, m_ewmh._NET_CLOSE_WINDOW) != supported.end()) {
    ::xcb_ewmh_request_close_window(&m_ewmh, m_screen, window, XCB_CURRENT_TIME, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
    return true;
  }
  const auto protocols = numbers(askProperty(window, m_ewmh.WM_PROTOCOLS, XCB_ATOM_ATOM));
  if (std::ranges::find(protocols, m_deleteWindow) == protocols.end()) return false;
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = window;
  event.type = m_ewmh.WM_PROTOCOLS;
  event.data.data32[0] = m_deleteWindow;
  event.data.data32[1] = XCB_CURRENT_TIME;
  ::xcb_send_event(m_connection, 0, window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
  return true;
}

void X11Windows::Connection::flush() {
  ::xcb_flush(m_connection);
  // Errors about windows that have gone arrive as events.
  while (const XcbReply<xcb_generic_event_t> event{::xcb_poll_for_event(m_connection)})
    continue;
}

}  // namespace halvard
