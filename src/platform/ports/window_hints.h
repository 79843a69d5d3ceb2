#pragma once

#include <cstdint>

namespace halvard {

/// What a window tells the window manager beyond what the toolkit can say. Main thread.
class WindowHints {
 public:
  virtual ~WindowHints() = default;
  /// Keeps a window that is about to be shown out of task bars and pagers. `windowId` is the native one.
  virtual void hideFromWindowList(std::uint64_t windowId) = 0;
};

}  // namespace halvard
