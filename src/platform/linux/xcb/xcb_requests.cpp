#include "platform/linux/xcb/xcb_requests.h"

#include <cstring>

namespace halvard {

xcb_atom_t internAtom(xcb_connection_t* connection, const char* name) {
  const auto question = ::xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
  const XcbReply<xcb_intern_atom_reply_t> reply(::xcb_intern_atom_reply(connection, question, nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

}  // namespace halvard
