#pragma once

#include "platform/ports/appearance.h"

namespace halvard {

/// Light until told otherwise.
class FakeAppearance : public Appearance {
 public:
  using Appearance::Appearance;

  bool isDark() const override { return m_dark; }
  /// Emits changed() on change.
  void setDark(bool dark);

 private:
  bool m_dark = false;
};

}  // namespace halvard
