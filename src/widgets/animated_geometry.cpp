#include "widgets/animated_geometry.h"

#include <QPropertyAnimation>
#include <QWidget>

namespace halvard::animated_geometry {
namespace {

const QString kName = QStringLiteral("frame animation");

void change(QWidget* widget, const char* property, const QVariant& value, bool usingAnimator) {
  delete widget->findChild<QPropertyAnimation*>(kName, Qt::FindDirectChildrenOnly);
  if (!usingAnimator) {
    widget->setProperty(property, value);
    return;
  }
  auto* animation = new QPropertyAnimation(widget, property, widget);
  animation->setObjectName(kName);
  animation->setDuration(static_cast<int>(kLayoutDuration.count()));
  animation->setEasingCurve(QEasingCurve::InOutQuad);
  animation->setEndValue(value);
  animation->start(QAbstractAnimation::DeleteWhenStopped);
}

}  // namespace

void setFrame(QWidget* widget, const QRect& frame, bool usingAnimator) {
  change(widget, "geometry", frame, usingAnimator);
}

void setSize(QWidget* widget, QSize size, bool usingAnimator) {
  change(widget, "size", size, usingAnimator);
}

}  // namespace halvard::animated_geometry
