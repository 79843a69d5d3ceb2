#include "widgets/news_icon.h"

#include <QPainter>
#include <QPixmap>

namespace halvard {
namespace {

constexpr int kSide = 16;

QPixmap picture(const QColor& color, int scale) {
  QPixmap pixmap(kSide * scale, kSide * scale);
  pixmap.setDevicePixelRatio(scale);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  constexpr QPointF source(3.5, 12.5);
  painter.setPen(Qt::NoPen);
  painter.setBrush(color);
  painter.drawEllipse(source, 1.75, 1.75);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(color, 1.8, Qt::SolidLine, Qt::RoundCap));
  for (const qreal radius : {5.2, 9.4}) {
    constexpr int quarter = 90 * 16;
    painter.drawArc(QRectF(source.x() - radius, source.y() - radius, 2 * radius, 2 * radius), 0, quarter);
  }
  return pixmap;
}

}  // namespace

QIcon newsIcon(bool fresh) {
  const QColor color = fresh ? QColor(226, 88, 34) : QColor(82, 100, 115);
  QIcon icon;
  for (const int scale : {1, 2, 3})
    icon.addPixmap(picture(color, scale));
  return icon;
}

}  // namespace halvard
