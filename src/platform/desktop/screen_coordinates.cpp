#include "platform/desktop/screen_coordinates.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

namespace halvard {

QPoint logicalPoint(QPoint point, QPoint pointer, const QList<ScreenPlace>& screens) {
  QPoint best = point;
  for (const ScreenPlace& screen : screens) {
    const QPoint corner = screen.logical.topLeft();
    const QRect native(corner, (QSizeF(screen.logical.size()) * screen.scale).toSize());
    if (!native.contains(point)) continue;
    const QPoint candidate = corner + ((point - corner).toPointF() / screen.scale).toPoint();
    if ((candidate - pointer).manhattanLength() < (best - pointer).manhattanLength()) best = candidate;
  }
  return best;
}

QPoint logicalPoint(QPoint point) {
  QList<ScreenPlace> places;
  const QList<QScreen*> screens = QGuiApplication::screens();
  for (const QScreen* screen : screens)
    places.append({screen->geometry(), screen->devicePixelRatio()});
  return logicalPoint(point, QCursor::pos(), places);
}

}  // namespace halvard
