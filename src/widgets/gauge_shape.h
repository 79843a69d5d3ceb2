#pragma once

#include <QColor>
#include <QPainterPath>
#include <QRectF>

class QPainter;

namespace halvard {

/// Colours of a level: its two ends and the line on its surface.
struct GaugeColors {
  QColor top;
  QColor bottom;
  QColor surface;
};

/// Calm up to 74 percent, warm from 75, alarming from 94.
GaugeColors gaugeColors(int percent);

/// The memory chip that frames every status picture: a mid-tone body with a fine light edge, so that it stands out
/// from light and dark bars alike, three contacts on either side, and a dark well for the content. Every edge lies
/// on a whole pixel of a square of `pixelSize`.
class GaugeShape {
 public:
  explicit GaugeShape(int pixelSize);

  void drawBody(QPainter& painter) const;

  QRectF well() const { return m_well; }
  QPainterPath wellPath() const;
  /// Width of a fine line, in pixels.
  int line() const { return m_line; }

 private:
  void drawContacts(QPainter& painter) const;

  int m_size;
  int m_line;
  int m_contact;  // length of a contact
  QRectF m_body;
  QRectF m_well;
  double m_radius;
};

}  // namespace halvard
