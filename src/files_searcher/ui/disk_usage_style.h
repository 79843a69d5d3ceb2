#pragma once

#include <QColor>
#include <QPainter>
#include <QPainterPath>
#include <QRect>

/// The measures and colours that the disk-usage section adds to the common look. Logical pixels.
namespace halvard::disk_usage_style {

inline constexpr int kWidth = 250;
/// Texts and buttons stand under those of the panel's summary.
inline constexpr int kMargin = 16;
inline constexpr int kButtonWidth = kWidth - 2 * kMargin;
/// The top of the button at the foot of the detailed section.
inline constexpr int kFootButtonTop = 200;
inline constexpr int kDetailedHeight = 250;
inline constexpr int kCompactHeight = 120;
inline constexpr int kCompactHeightWithButton = 100;

/// Junk, duplicates, large and old files, applications: the colour of each figure's mark.
inline const QColor kMarks[]{QColor(94, 190, 220), QColor(126, 139, 214), QColor(236, 160, 74), QColor(106, 190, 130)};

/// White up to the panel's border, which runs around the section at the sides and below with round corners.
inline void paintGround(QPainter& painter, const QRect& rect) {
  constexpr qreal kRadius = 6;
  const QRectF ground = QRectF(rect).adjusted(1, -2 * kRadius, -1, -1);
  QPainterPath shape;
  shape.addRoundedRect(ground, kRadius, kRadius);
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.fillPath(shape, Qt::white);
  painter.restore();
}

}  // namespace halvard::disk_usage_style
