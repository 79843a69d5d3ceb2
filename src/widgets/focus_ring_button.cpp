#include "widgets/focus_ring_button.h"

#include <QFocusEvent>
#include <QKeyEvent>

namespace halvard {

FocusRingButton::FocusRingButton(QWidget* parent) : QAbstractButton(parent) {
  setFocusPolicy(Qt::StrongFocus);
}

void FocusRingButton::focusInEvent(QFocusEvent* event) {
  const Qt::FocusReason reason = event->reason();
  m_focusedByKey =
      reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason;
  QAbstractButton::focusInEvent(event);
}

void FocusRingButton::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    animateClick();
    return;
  }
  QAbstractButton::keyPressEvent(event);
}

}  // namespace halvard
