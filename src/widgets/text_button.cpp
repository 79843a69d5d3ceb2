#include "widgets/text_button.h"

#include <QPainter>

#include "widgets/ui_style.h"

namespace halvard {

TextButton::TextButton(const QString& text, QWidget* parent) : FocusRingButton(parent) {
  setText(text);
  setAccessibleName(text);
  setFont(ui_style::font(12));
  setAttribute(Qt::WA_Hover);
  setCursor(Qt::PointingHandCursor);
}

QSize TextButton::sizeHint() const {
  return {fontMetrics().horizontalAdvance(text()) + 8, 24};
}

void TextButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRect textRect = rect().adjusted(4, 0, -4, 0);
  QFont face = font();
  face.setUnderline(underMouse());
  painter.setFont(face);
  painter.setPen(isDown() ? ui_style::calmColor() : ui_style::secondaryTextColor());
  painter.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter, text());
  if (!showsFocus()) return;
  const int width = fontMetrics().horizontalAdvance(text());
  painter.setPen(QPen(ui_style::focusColor(), 1.5));
  painter.drawRoundedRect(QRectF(textRect.left() - 3, 2.5, width + 6, height() - 5), 4, 4);
}

}  // namespace halvard
