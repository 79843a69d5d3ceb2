#include "widgets/animated_geometry.h"

#include <QPropertyAnimation>
#include <QWidget>

namespace halvard::animated_geometry {
namespace {
const QString kName = QStringLiteral("frame animation");
}

void setFrame(QWidget* widget, const QRect& frame, bool usingAnimator) {
  delete widget->findChild<QPropertyAnimation*>(kName, Qt::FindDirectChildrenOnly);
  if (!usingAnimator) {
    widget->setGeometry(frame);
    return;
  }
  auto* animation = new QPropertyAnimation(widget, "geometry", widget);
  animation->setObjectName(kName);
  animation->setDuration(static_cast<int>(kLayoutDuration.count()));
  animation->setEasingCurve(QEasingCurve::InOutQuad);
  animation->setEndValue(frame);
  animation->start(QAbstractAnimation::DeleteWhenStopped);
}

}  // namespace halvard::animated_geometry
