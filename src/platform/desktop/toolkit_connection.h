#pragma once

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace halvard {

/// Owns what xcb allocates for an answer.
struct XcbAnswerFree {
  void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using XcbAnswer = std::unique_ptr<T, XcbAnswerFree>;

/// The toolkit's connection to the X server; null on other platforms. Main thread.
xcb_connection_t* toolkitConnection();

/// The number of the screen that DISPLAY names.
int screenNumber();

/// XCB_ATOM_NONE when the server does not answer.
xcb_atom_t internAtom(xcb_connection_t* connection, const char* name);

}  // namespace halvard
