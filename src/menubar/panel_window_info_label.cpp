#include "menubar/panel_window_info_label.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include "widgets/ui_style.h"

namespace halvard {

PanelWindowInfoLabel::PanelWindowInfoLabel(QWidget* parent)
    : QLabel(parent), m_normalFont(ui_style::font(12)), m_hoveredFont(ui_style::font(12, QFont::Medium)) {
  setTextFormat(Qt::PlainText);
  applyFont(false);
}

void PanelWindowInfoLabel::setTracking(bool tracking) {
  if (m_tracking == tracking) return;
  m_tracking = tracking;
  setFocusPolicy(tracking ? Qt::TabFocus : Qt::NoFocus);
  setCursor(tracking ? Qt::PointingHandCursor : Qt::ArrowCursor);
  applyFont(tracking && underMouse());
}

void PanelWindowInfoLabel::setNormalFont(const QFont& font) {
  m_normalFont = font;
  applyFont(m_tracking && underMouse());
}

void PanelWindowInfoLabel::setHoveredFont(const QFont& font) {
  m_hoveredFont = font;
  applyFont(m_tracking && underMouse());
}

void PanelWindowInfoLabel::setTextColor(const QColor& color) {
  QPalette colors = palette();
  if (colors.color(QPalette::WindowText) == color) return;
  colors.setColor(QPalette::WindowText, color);
  setPalette(colors);
}

void PanelWindowInfoLabel::enterEvent(QEnterEvent*) {
  applyFont(m_tracking);
}

void PanelWindowInfoLabel::leaveEvent(QEvent*) {
  applyFont(false);
}

void PanelWindowInfoLabel::mousePressEvent(QMouseEvent* event) {
  event->setAccepted(m_tracking);
}

void PanelWindowInfoLabel::mouseReleaseEvent(QMouseEvent* event) {
  event->setAccepted(m_tracking);
  if (m_tracking && event->button() == Qt::LeftButton && rect().contains(event->pos())) Q_EMIT clicked();
}

void PanelWindowInfoLabel::keyPressEvent(QKeyEvent* event) {
  const bool activates =
      event->key() == Qt::Key_Space || event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (m_tracking && activates) {
    Q_EMIT clicked();
  } else {
    QLabel::keyPressEvent(event);
  }
}

void PanelWindowInfoLabel::paintEvent(QPaintEvent* event) {
  QLabel::paintEvent(event);
  if (!hasFocus()) return;
  QPainter painter(this);
  painter.setPen(QPen(ui_style::focusColor(), 1));
  painter.drawLine(0, height() - 1, width(), height() - 1);
}

void PanelWindowInfoLabel::applyFont(bool hovered) {
  const QFont& wanted = hovered ? m_hoveredFont : m_normalFont;
  if (font() != wanted) setFont(wanted);
}

}  // namespace halvard
