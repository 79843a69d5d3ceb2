#include "platform/linux/x11/x11_windows.h"

#include <QtGlobal>
#include <algorithm>

#include "platform/linux/x11/x11_connection.h"

namespace halvard {

namespace {

bool contains(std::span<const std::int32_t> pids, std::int32_t pid) {
  return std::ranges::find(pids, pid) != pids.end();
}

}  // namespace

X11Windows::X11Windows(QByteArray display, ListChanges changes)
    : m_display(std::move(display)), m_changes(std::move(changes)) {}

X11Windows::~X11Windows() = default;

X11Windows::Connection* X11Windows::connection() {
  // The end of a server that is asked nothing shows in reading only.
  if (m_connection && !m_connection->isServerHere()) m_connection->flush();
  if (m_connection && !m_connection->isAlive()) m_connection.reset();
  const bool hasDisplay = !m_display.isEmpty() || !qEnvironmentVariableIsEmpty("DISPLAY");
  if (!m_connection && hasDisplay) m_connection = Connection::open(m_display);
  return m_connection && m_connection->isServerHere() ? m_connection.get() : nullptr;
}

std::vector<ApplicationWindow> X11Windows::windows() {
  const std::lock_guard lock(m_mutex);
  return ask();
}

std::vector<ApplicationWindow> X11Windows::rememberedWindows() {
  const std::lock_guard lock(m_mutex);
  if (!m_changes || m_timesLeft == 0 || *m_changes != m_rememberedAt) return ask();
  --m_timesLeft;
  return m_remembered;
}

std::vector<ApplicationWindow> X11Windows::ask() {
  m_timesLeft = 0;
  Connection* server = connection();
  if (!server) return {};
  if (m_changes) m_rememberedAt = *m_changes;  // before the question: what changes meanwhile counts as a change
  m_remembered = server->windows();
  // A window that has passed to another process is described the next time, which is not to be skipped.
  if (server->isAlive() && server->hasDescribedAll()) m_timesLeft = kRememberedTimes;
  server->flush();
  return m_remembered;
}

DesktopAttention X11Windows::attention() {
  const std::lock_guard lock(m_mutex);
  Connection* server = connection();
  if (!server) return {};
  DesktopAttention result;
  const auto owner = [server](xcb_window_t window) { return window == 0 ? 0 : server->pidOfWindow(window); };
  const std::int32_t focused = owner(server->focusedWindow());
  if (focused > 0) result.focused = focused;
  for (const xcb_window_t window : server->windowsOfServants()) {
    const std::int32_t pid = owner(window);
    if (pid > 0 && !contains(result.servants, pid)) result.servants.push_back(pid);
  }
  server->flush();
  result.hasDisplay = server->isAlive();
  return result;
}

bool X11Windows::activate(std::span<const std::int32_t> pids) {
  const std::lock_guard lock(m_mutex);
  Connection* server = connection();
  if (!server) return false;
  const auto candidates = server->windows();
  const auto order = server->stackingOrder();
  const ApplicationWindow* top = nullptr;
  std::ptrdiff_t topPlace = -2;
  for (const ApplicationWindow& window : candidates) {
    const auto found = std::ranges::find(order, window.id);
    const std::ptrdiff_t place = found == order.end() ? -1 : found - order.begin();
    if (contains(pids, window.pid) && place > topPlace) {
      top = &window;
      topPlace = place;
    }
  }
  if (!top) return false;
  server->activate(top->id);
  server->flush();
  return server->isAlive();
}

bool X11Windows::close(std::span<const std::int32_t> pids) {
  const std::lock_guard lock(m_mutex);
  Connection* server = connection();
  if (!server) return false;
  bool asked = false;
  for (const ApplicationWindow& window : server->windows()) {
    if (contains(pids, window.pid)) asked = server->close(window.id) || asked;
  }
  server->flush();
  return asked && server->isAlive();
}

}  // namespace halvard
