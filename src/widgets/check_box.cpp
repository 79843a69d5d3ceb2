#include "widgets/check_box.h"

#include <QPainter>

#include "widgets/ui_style.h"

namespace halvard {
namespace {

constexpr int kSide = 16;
constexpr int kGap = 9;
constexpr int kMargin = 3;  // room for the focus ring

void drawMark(QPainter& painter, const QRectF& box) {
  painter.setPen(QPen(Qt::white, 1.9, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  const QPointF corner = box.topLeft();
  painter.drawPolyline(QPolygonF{corner + QPointF(3.9, 8.2), corner + QPointF(6.8, 11.1), corner + QPointF(12.1, 5.0)});
}

}  // namespace

CheckBox::CheckBox(const QString& text, QWidget* parent) : FocusRingButton(parent) {
  setCheckable(true);
  setText(text);
  setAccessibleName(text);
  setFont(ui_style::font(13));
  setAttribute(Qt::WA_Hover);
  setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
}

QSize CheckBox::sizeHint() const {
  return {kMargin + kSide + kGap + fontMetrics().horizontalAdvance(text()) + kMargin, 24};
}

void CheckBox::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF box(kMargin, (height() - kSide) / 2.0, kSide, kSide);
  const QColor fill = isChecked() ? ui_style::accentColor() : underMouse() ? ui_style::hoverColor() : QColor(Qt::white);
  painter.setBrush(isDown() ? fill.darker(112) : fill);
  painter.setPen(isChecked()    ? ui_style::accentColor().darker(115)
                 : underMouse() ? ui_style::accentColor()
                                : ui_style::controlOutlineColor());
  painter.drawRoundedRect(box.adjusted(0.5, 0.5, -0.5, -0.5), 3.5, 3.5);
  if (isChecked()) drawMark(painter, box);
  if (showsFocus()) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(ui_style::focusColor(), 2));
    painter.drawRoundedRect(box.adjusted(-2, -2, 2, 2), 5, 5);
  }
  painter.setPen(ui_style::primaryTextColor());
  painter.drawText(rect().adjusted(kMargin + kSide + kGap, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, text());
}

}  // namespace halvard
