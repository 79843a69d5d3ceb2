#include <QByteArray>
#include <QFile>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include "platform/linux/crash/display.h"

namespace halvard {
namespace {

bool hasXServer() {
  if (qEnvironmentVariableIsEmpty("DISPLAY")) return false;
  xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
  const bool works = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  return works;
}

bool acceptsConnections(const QByteArray& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= static_cast<qsizetype>(sizeof address.sun_path)) return false;
  std::copy(path.begin(), path.end(), address.sun_path);
  const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool accepted = connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(descriptor);
  return accepted;
}

bool hasCompositor() {
  const QByteArray name = qgetenv("WAYLAND_DISPLAY");
  if (name.isEmpty()) return false;
  return acceptsConnections(name.startsWith('/') ? name : qgetenv("XDG_RUNTIME_DIR") + '/' + name);
}

}  // namespace

bool hasDisplay() {
  const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
  const bool drawsIntoTheVoid = platform.startsWith("offscreen") || platform.startsWith("minimal");
  return !drawsIntoTheVoid && (hasXServer() || hasCompositor());
}

}  // namespace halvard
