#pragma once

#include <QAccessible>
#include <QStringList>
#include <QWidget>

namespace halvard::test {

/// The classes of those controls of a window that the keyboard reaches and a screen reader has no name for.
inline QStringList namelessControls(const QWidget& window) {
  QStringList nameless;
  for (QWidget* const control : window.findChildren<QWidget*>()) {
    if (control->window() != &window || control->focusPolicy() == Qt::NoFocus) continue;
    const QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(control);
    if (!interface || interface->text(QAccessible::Name).isEmpty())
      nameless << QString::fromLatin1(control->metaObject()->className());
  }
  return nameless;
}

}  // namespace halvard::test
