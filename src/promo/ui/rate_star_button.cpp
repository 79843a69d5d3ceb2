#include "promo/ui/rate_star_button.h"

#include <QEnterEvent>
#include <QFocusEvent>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <cmath>

#include "widgets/ui_style.h"

namespace halvard {
namespace {

constexpr qreal kPi = 3.14159265358979323846;

/// A star of five points around the origin; a thick round pen gives it soft corners.
QPainterPath star(qreal radius) {
  constexpr qreal innerShare = 0.48;
  QPainterPath outline;
  for (int corner = 0; corner < 10; ++corner) {
    const qreal angle = kPi * corner / 5 - kPi / 2;
    const qreal distance = corner % 2 == 0 ? radius : radius * innerShare;
    const QPointF point(distance * std::cos(angle), distance * std::sin(angle));
    corner == 0 ? outline.moveTo(point) : outline.lineTo(point);
  }
  outline.closeSubpath();
  return outline;
}

QBrush goldFill(qreal radius) {
  QLinearGradient gold(0, -radius, 0, radius);
  gold.setColorAt(0, QColor(255, 214, 92));
  gold.setColorAt(0.55, QColor(250, 184, 38));
  gold.setColorAt(1, QColor(236, 150, 16));
  return gold;
}

void paintStar(QPainter& painter, qreal radius, bool gold) {
  constexpr qreal roundness = 4;
  const QPainterPath outline = star(radius - roundness / 2);
  if (gold) {
    painter.save();
    painter.translate(0, 1.5);
    const QColor shadow(150, 92, 0, 38);
    painter.setPen(QPen(shadow, roundness, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(shadow);
    painter.drawPath(outline);
    painter.restore();
  }
  const QBrush rim = gold ? QBrush(QColor(233, 152, 22)) : QBrush(QColor(196, 206, 214));
  painter.setPen(QPen(rim, roundness, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(rim);
  painter.drawPath(outline);
  const QBrush fill = gold ? goldFill(radius) : QBrush(QColor(247, 250, 252));
  painter.setPen(QPen(fill, roundness - 2.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(fill);
  painter.drawPath(outline);
}

}  // namespace

RateStarButton::RateStarButton(const QString& accessibleName, QWidget* parent) : FocusRingButton(parent) {
  setAccessibleName(accessibleName);
  setToolTip(accessibleName);
  setCursor(Qt::PointingHandCursor);
  setFixedSize(sizeHint());
}

void RateStarButton::setGold(bool gold) {
  if (m_gold == gold) return;
  m_gold = gold;
  update();
}

void RateStarButton::enterEvent(QEnterEvent* event) {
  FocusRingButton::enterEvent(event);
  Q_EMIT mouseEntered();
}

void RateStarButton::leaveEvent(QEvent* event) {
  FocusRingButton::leaveEvent(event);
  Q_EMIT mouseExited();
}

void RateStarButton::focusInEvent(QFocusEvent* event) {
  FocusRingButton::focusInEvent(event);
  // To the keyboard, having the focus is being pointed at.
  if (showsFocus()) Q_EMIT mouseEntered();
}

void RateStarButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  if (showsFocus()) {
    painter.setPen(QPen(ui_style::focusColor(), 1.5));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 8, 8);
  }
  painter.translate(QRectF(rect()).center() + QPointF(0, 1));
  paintStar(painter, isDown() ? 17 : 18, m_gold);
}

}  // namespace halvard
