#include "crash/handler/display_connections.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace halvard::crash_handler {
namespace {

bool isDisplayConnection(int descriptor) {
  constexpr std::string_view servers = "/tmp/.X11-unix/X";
  sockaddr_un peer = {};
  socklen_t size = sizeof peer;
  if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0 || peer.sun_family != AF_UNIX)
    return false;
  const std::size_t abstract = peer.sun_path[0] == '\0' ? 1 : 0;
  return std::string_view(peer.sun_path + abstract, sizeof peer.sun_path - abstract).starts_with(servers);
}

}  // namespace

void endDisplayConnections() {
  constexpr rlim_t mostDescriptors = 4096;
  rlimit limit = {mostDescriptors, mostDescriptors};
  getrlimit(RLIMIT_NOFILE, &limit);
  const int end = static_cast<int>(std::min(limit.rlim_cur, mostDescriptors));
  for (int descriptor = STDERR_FILENO + 1; descriptor < end; ++descriptor) {
    // Not closed: other threads may be about to use the number.
    if (isDisplayConnection(descriptor)) shutdown(descriptor, SHUT_RDWR);
  }
}

}  // namespace halvard::crash_handler
