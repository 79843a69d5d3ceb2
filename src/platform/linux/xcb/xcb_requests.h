#pragma once

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace halvard {

/// Owns what xcb allocates for a reply or an event.
struct XcbFree {
  void operator()(void* memory) const { std::free(memory); }
};
template <class Reply>
using XcbReply = std::unique_ptr<Reply, XcbFree>;

/// Asks the server. XCB_ATOM_NONE when it does not answer.
xcb_atom_t internAtom(xcb_connection_t* connection, const char* name);

}  // namespace halvard
