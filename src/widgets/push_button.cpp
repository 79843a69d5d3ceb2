#include "widgets/push_button.h"

#include <QPainter>
#include <algorithm>

#include "widgets/ui_style.h"

namespace halvard {
namespace {

struct Face {
  QColor top;
  QColor bottom;
  QColor rim;
};

// "btn_Yes", "btn_Yes_hover" and "btn_Yes_click"; the same of "btn_No".
const Face kYes{{229, 246, 254}, {201, 235, 251}, {126, 190, 222}};
const Face kYesHover{{238, 250, 255}, {214, 242, 254}, {95, 176, 216}};
const Face kYesClick{{190, 228, 247}, {206, 237, 251}, {88, 160, 199}};
const Face kNo{{255, 255, 255}, {244, 246, 248}, {200, 208, 214}};
const Face kNoHover{{255, 255, 255}, {250, 251, 252}, {166, 182, 193}};
const Face kNoClick{{228, 233, 237}, {238, 241, 244}, {166, 182, 193}};

const Face& face(PushButton::Role role, bool isDown, bool isHovered) {
  if (role == PushButton::Role::Offered) return isDown ? kYesClick : isHovered ? kYesHover : kYes;
  return isDown ? kNoClick : isHovered ? kNoHover : kNo;
}

}  // namespace

PushButton::PushButton(const QString& text, Role role, QWidget* parent) : FocusRingButton(parent), m_role(role) {
  setText(text);
  setAccessibleName(text);
  setFont(ui_style::font(13, role == Role::Offered ? QFont::Medium : QFont::Normal));
  setAttribute(Qt::WA_Hover);
}

QSize PushButton::sizeHint() const {
  return {std::max(84, fontMetrics().horizontalAdvance(text()) + 32), 28};
}

QColor PushButton::textColor() const {
  return m_role == Role::Offered ? QColor(34, 88, 134) : QColor(132, 132, 132);
}

void PushButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const Face& colors = face(m_role, isDown(), underMouse());
  QLinearGradient gradient(0, 0, 0, height());
  gradient.setColorAt(0, colors.top);
  gradient.setColorAt(1, colors.bottom);
  painter.setBrush(gradient);
  painter.setPen(showsFocus() ? QPen(ui_style::focusColor(), 2) : QPen(colors.rim, 1));
  painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 6, 6);
  painter.setPen(textColor());
  painter.drawText(rect(), Qt::AlignCenter, text());
}

}  // namespace halvard
