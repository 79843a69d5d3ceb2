#include "widgets/gauge_shape.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

namespace halvard {

namespace {

/// `share` of the size in whole pixels, `least` or more.
int pixels(int size, double share, int least) {
  return std::max(least, static_cast<int>(std::lround(size * share)));
}

QPainterPath rounded(const QRectF& rect, double radius) {
  QPainterPath path;
  path.addRoundedRect(rect, radius, radius);
  return path;
}

}  // namespace

GaugeColors gaugeColors(int percent) {
  if (percent >= 94) return {QColor(0xFF, 0x6A, 0x5C), QColor(0xD9, 0x2D, 0x3A), QColor(0xFF, 0xB8, 0xAE)};
  if (percent >= 75) return {QColor(0xFF, 0xC4, 0x4D), QColor(0xEC, 0x8A, 0x12), QColor(0xFF, 0xE7, 0xB0)};
  return {QColor(0x3F, 0xDD, 0xC2), QColor(0x12, 0x9C, 0x98), QColor(0xB4, 0xFB, 0xEB)};
}

GaugeShape::GaugeShape(int pixelSize)
    : m_size(pixelSize), m_line(pixels(pixelSize, 1 / 36.0, 1)), m_contact(pixels(pixelSize, 0.075, 1)) {
  const int margin = pixels(pixelSize, 0.03, 0);
  const int casing = pixels(pixelSize, 0.1, 2);
  m_body = QRectF(m_contact, margin, m_size - 2 * m_contact, m_size - 2 * margin);
  m_well = m_body.adjusted(casing, casing, -casing, -casing);
  m_radius = m_size * 0.2;
}

QPainterPath GaugeShape::wellPath() const {
  const double inset = m_well.left() - m_body.left();
  return rounded(m_well, std::max(1.0, m_radius - inset));
}

void GaugeShape::drawContacts(QPainter& painter) const {
  const int bodyHeight = static_cast<int>(m_body.height());
  int height = pixels(m_size, 0.115, 2);
  if ((bodyHeight - height) % 2 != 0) --height;  // so that the middle one lies in the middle
  const int step = height + pixels(m_size, 0.12, 1);
  const int middle = static_cast<int>(m_body.top()) + (bodyHeight - height) / 2;
  painter.setBrush(QColor(0x7C, 0x91, 0xA8));
  for (int number = -1; number <= 1; ++number) {
    painter.drawRect(QRect(0, middle + number * step, m_contact, height));
    painter.drawRect(QRect(m_size - m_contact, middle + number * step, m_contact, height));
  }
}

void GaugeShape::drawBody(QPainter& painter) const {
  drawContacts(painter);
  QLinearGradient edge(m_body.topLeft(), m_body.bottomLeft());
  edge.setColorAt(0, QColor(0xD3, 0xDE, 0xE9));
  edge.setColorAt(1, QColor(0x93, 0xA6, 0xBA));
  painter.fillPath(rounded(m_body, m_radius), edge);

  const QRectF face = m_body.adjusted(m_line, m_line, -m_line, -m_line);
  QLinearGradient slate(face.topLeft(), face.bottomLeft());
  slate.setColorAt(0, QColor(0x6B, 0x80, 0x97));
  slate.setColorAt(1, QColor(0x4A, 0x5D, 0x73));
  painter.fillPath(rounded(face, m_radius - m_line), slate);
  painter.fillPath(wellPath(), QColor(0x1C, 0x27, 0x33));
}

}  // namespace halvard
