#include "widgets/hint_window.h"

#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <algorithm>

#include "widgets/ui_style.h"

namespace halvard {

HintWindow::HintWindow() {
  setWindowFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
  setAttribute(Qt::WA_ShowWithoutActivating);
  setFont(ui_style::font(11));
  setTextFormat(Qt::PlainText);
  setContentsMargins(9, 6, 9, 6);
  QPalette colors = palette();
  colors.setColor(QPalette::WindowText, Qt::white);
  setPalette(colors);
}

void HintWindow::showWithText(const QString& text, QPoint position) {
  setText(text);
  adjustSize();
  QPoint place = position + QPoint(14, 16);
  if (const QScreen* screen = QGuiApplication::screenAt(position)) {
    const QRect room = screen->availableGeometry();
    place.setX(std::min(place.x(), room.right() + 1 - width()));
    if (place.y() + height() > room.bottom() + 1) place.setY(position.y() - height() - 8);
  }
  move(place);
  show();
}

void HintWindow::hideItself() {
  tag = -1;
  hide();
}

void HintWindow::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  painter.fillRect(rect(), ui_style::hintColor());
  QLabel::paintEvent(event);
}

}  // namespace halvard
