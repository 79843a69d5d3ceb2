#pragma once

#include "platform/ports/window_hints.h"

namespace halvard {

/// The extended window manager hints, through the toolkit's own X connection. Without X nothing happens.
class X11WindowHints : public WindowHints {
 public:
  void setPlace(std::uint64_t windowId, Desktops desktops, WindowList list) override;
  /// Whether a compositing manager owns its selection of the first screen; where there is no X, true for Wayland.
  bool blendsWindows() const override;
};

}  // namespace halvard
