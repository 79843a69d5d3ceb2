#include "widgets/icon_button.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>

#include "widgets/ui_style.h"

namespace halvard {
namespace {

constexpr qreal kPi = 3.14159265358979323846;

/// A gear of eight teeth around the origin, 15 units across.
QPainterPath gear() {
  QPainterPath outline;
  constexpr int teeth = 8;
  constexpr qreal outer = 7.5;
  constexpr qreal inner = 5.6;
  for (int tooth = 0; tooth < teeth; ++tooth) {
    const qreal middle = 2 * kPi * tooth / teeth;
    const auto point = [&](qreal radius, qreal offset) {
      return QPointF(radius * std::cos(middle + offset), radius * std::sin(middle + offset));
    };
    const auto move = [&](QPointF to) { tooth == 0 && outline.isEmpty() ? outline.moveTo(to) : outline.lineTo(to); };
    move(point(inner, -0.27));
    outline.lineTo(point(outer, -0.18));
    outline.lineTo(point(outer, 0.18));
    outline.lineTo(point(inner, 0.27));
  }
  outline.closeSubpath();
  QPainterPath hole;
  hole.addEllipse(QPointF(0, 0), 2.5, 2.5);
  return outline.subtracted(hole);
}

void drawCross(QPainter& painter, const QColor& color) {
  painter.setPen(QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(QPointF(-4, -4), QPointF(4, 4));
  painter.drawLine(QPointF(-4, 4), QPointF(4, -4));
}

void drawChevron(QPainter& painter, const QColor& color, bool open) {
  painter.setPen(QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.rotate(open ? 90 : 0);
  painter.drawPolyline(QPolygonF{QPointF(-1.8, -3.6), QPointF(1.8, 0), QPointF(-1.8, 3.6)});
}

}  // namespace

IconButton::IconButton(Picture picture, const QString& accessibleName, QWidget* parent)
    : FocusRingButton(parent), m_picture(picture) {
  setAccessibleName(accessibleName);
  setToolTip(accessibleName);
  setAttribute(Qt::WA_Hover);
}

void IconButton::setPicture(Picture picture) {
  if (m_picture == picture) return;
  m_picture = picture;
  update();
}

void IconButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF bounds = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
  if (isDown() || underMouse()) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(isDown() ? QColor(204, 218, 227) : QColor(224, 233, 239));
    painter.drawRoundedRect(bounds, 5, 5);
  }
  if (showsFocus()) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(ui_style::focusColor(), 1.5));
    painter.drawRoundedRect(bounds.adjusted(0.5, 0.5, -0.5, -0.5), 5, 5);
  }
  const QColor ink(82, 100, 115);
  painter.translate(bounds.center());
  switch (m_picture) {
    case Picture::Settings:
    case Picture::SettingsNews:
      painter.fillPath(gear(), ink);
      if (m_picture == Picture::SettingsNews) {
        painter.setPen(QPen(ui_style::titleBarColor(), 1.5));
        painter.setBrush(QColor(226, 88, 34));
        painter.drawEllipse(QPointF(6, -6), 4, 4);
      }
      break;
    case Picture::Close:
      drawCross(painter, ink);
      break;
    case Picture::Disclosure:
      drawChevron(painter, ink, isChecked());
      break;
    case Picture::Back:
      painter.scale(-1, 1);
      drawChevron(painter, ink, false);
      break;
  }
}

}  // namespace halvard
