#include "platform/fake/fake_appearance.h"

namespace halvard {

void FakeAppearance::setDark(bool dark) {
  if (dark == m_dark) return;
  m_dark = dark;
  Q_EMIT changed();
}

}  // namespace halvard
