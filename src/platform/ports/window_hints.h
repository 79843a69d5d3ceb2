#pragma once

#include <cstdint>

namespace halvard {

/// What windows and the desktop tell each other beyond what the toolkit can say. Main thread.
class WindowHints {
 public:
  enum class Desktops { Current, All };
  /// Whether task bars and pagers show a window.
  enum class WindowList { Listed, Hidden };

  virtual ~WindowHints() = default;
  /// Where a window is to be found. Each time before it is shown: it forgets when it is hidden. `windowId` is the native
  /// one.
  virtual void setPlace(std::uint64_t windowId, Desktops desktops, WindowList list) = 0;
  /// Whether the desktop blends windows with what is behind them. Without that, the transparent parts of a window are
  /// black, and its shape has to be cut out instead. Asks the desktop each time.
  virtual bool blendsWindows() const = 0;
};

}  // namespace halvard
