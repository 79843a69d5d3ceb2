#pragma once

#include <QList>
#include <QPoint>
#include <QRect>

namespace halvard {

struct ScreenPlace {
  /// In logical coordinates; the corner is the same in native ones.
  QRect logical;
  /// Native pixels per logical one.
  qreal scale = 1;
};

/// Where another program's `point` lies in this program's logical coordinates. Panels speak either of pixels or of
/// logical coordinates and do not tell which; the pointer, which has just clicked there, decides.
QPoint logicalPoint(QPoint point, QPoint pointer, const QList<ScreenPlace>& screens);

/// The same for the screens and the pointer of this moment.
QPoint logicalPoint(QPoint point);

}  // namespace halvard
