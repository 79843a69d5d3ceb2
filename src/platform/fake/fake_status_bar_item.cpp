#include "platform/fake/fake_status_bar_item.h"

namespace halvard {

int FakeStatusBarItem::changes() const {
  return image.changes + alternateImage.changes + title.changes + alternateTitle.changes + toolTip.changes;
}

void FakeStatusBarItem::press(MouseButton button) {
  Q_EMIT activated(button);
}

void FakeStatusBarItem::setShown(bool shown) {
  if (shown == m_shown) return;
  m_shown = shown;
  Q_EMIT shownChanged();
}

}  // namespace halvard
