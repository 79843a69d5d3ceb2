#pragma once

#include <cstdint>

namespace halvard {

/// What windows and the desktop tell each other beyond what the toolkit can say. Main thread.
class WindowHints {
 public:
  virtual ~WindowHints() = default;
  /// Keeps a window that is about to be shown out of task bars and pagers. `windowId` is the native one.
  virtual void hideFromWindowList(std::uint64_t windowId) = 0;
  /// Whether the desktop blends windows with what is behind them. Without that, the transparent parts of a window are
  /// black, and its shape has to be cut out instead. Asks the desktop each time.
  virtual bool blendsWindows() const = 0;
};

}  // namespace halvard
