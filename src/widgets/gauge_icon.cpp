#include "widgets/gauge_icon.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <optional>

#include "widgets/gauge_badge.h"
#include "widgets/gauge_shape.h"

namespace halvard {

namespace {

std::optional<int> memoryPercent(const QString& imageName) {
  const QLatin1String prefix("icon_memory_");
  if (!imageName.startsWith(prefix)) return std::nullopt;
  bool isNumber = false;
  const int percent = QStringView(imageName).mid(prefix.size()).toInt(&isNumber);
  if (!isNumber || percent < 0 || percent > 100) return std::nullopt;
  return percent;
}

/// A four-pointed star around `center`, its points `reach` away.
QPainterPath sparkle(QPointF center, double reach) {
  const double waist = reach * 0.16;
  QPainterPath path(center + QPointF(0, -reach));
  const QPointF points[] = {{reach, 0}, {0, reach}, {-reach, 0}, {0, -reach}};
  const QPointF waists[] = {{waist, -waist}, {waist, waist}, {-waist, waist}, {-waist, -waist}};
  for (int quarter = 0; quarter < 4; ++quarter)
    path.quadTo(center + waists[quarter], center + points[quarter]);
  return path;
}

void drawLevel(QPainter& painter, const GaugeShape& shape, int percent) {
  const QRectF well = shape.well();
  const double height = well.height() * percent / 100.0;
  const QRectF level(well.left(), well.bottom() - height, well.width(), height);
  const GaugeColors colors = gaugeColors(percent);
  const QPainterPath wellPath = shape.wellPath();

  QPainterPath levelPath;
  levelPath.addRect(level);
  QLinearGradient gradient(well.topLeft(), well.bottomLeft());
  gradient.setColorAt(0, colors.top);
  gradient.setColorAt(1, colors.bottom);
  painter.fillPath(wellPath.intersected(levelPath), gradient);

  QPainterPath surface;
  surface.addRect(QRectF(level.left(), level.top(), level.width(), std::min<double>(shape.line(), height)));
  painter.fillPath(wellPath.intersected(surface), colors.surface);
}

/// Marks for a quarter, a half and three quarters along the right edge, where there is room for them.
void drawMarks(QPainter& painter, const GaugeShape& shape) {
  constexpr int kLeastHeight = 14;
  const QRectF well = shape.well();
  if (well.height() < kLeastHeight) return;
  const double length = std::max(2.0, std::round(well.width() / 5));
  for (int quarter = 1; quarter <= 3; ++quarter) {
    const double top = std::round(well.bottom() - well.height() * quarter / 4 - shape.line() / 2.0);
    painter.fillRect(QRectF(well.right() - length, top, length, shape.line()), QColor(255, 255, 255, 96));
  }
}

void drawWaiting(QPainter& painter, const GaugeShape& shape) {
  const QRectF well = shape.well();
  const double dot = std::max(2.0, std::floor(well.width() / 6));
  const double gap = std::max(1.0, std::floor((well.width() - 3 * dot) / 4));
  const double left = well.left() + (well.width() - 3 * dot - 2 * gap) / 2;
  const double top = well.top() + std::floor((well.height() - dot) / 2);
  painter.setBrush(QColor(0xC9, 0xD5, 0xE1));
  for (int number = 0; number < 3; ++number) {
    const QRectF rect(left + number * (dot + gap), top, dot, dot);
    painter.drawRoundedRect(rect, dot / 4, dot / 4);
  }
}

void drawCleaning(QPainter& painter, const GaugeShape& shape) {
  const QRectF well = shape.well();
  QLinearGradient gradient(well.topRight(), well.bottomLeft());
  gradient.setColorAt(0, QColor(0x6C, 0x8B, 0xFF));
  gradient.setColorAt(1, QColor(0x37, 0x4F, 0xC8));
  painter.fillPath(shape.wellPath(), gradient);
  painter.setBrush(Qt::white);
  const double reach = well.width() * 0.42;
  painter.drawPath(sparkle(QPointF(well.left() + well.width() * 0.43, well.top() + well.height() * 0.57), reach));
  painter.drawPath(
      sparkle(QPointF(well.right() - well.width() * 0.19, well.top() + well.height() * 0.2), reach * 0.45));
}

}  // namespace

QImage gaugeIcon(const QString& imageName, int pixelSize, const QString& badge) {
  const std::optional<int> percent = memoryPercent(imageName);
  const bool isCleaning = imageName == QLatin1String("icon_clear");
  if (!percent && !isCleaning && imageName != QLatin1String("icon_start")) return {};

  QImage image(pixelSize, pixelSize, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  if (percent && !badge.isEmpty()) {
    drawBadge(painter, pixelSize, *percent, badge);
    return image;
  }
  const GaugeShape shape(pixelSize);
  shape.drawBody(painter);
  if (percent) {
    drawLevel(painter, shape, *percent);
    drawMarks(painter, shape);
  }
  if (isCleaning) drawCleaning(painter, shape);
  if (!percent && !isCleaning) drawWaiting(painter, shape);
  return image;
}

}  // namespace halvard
