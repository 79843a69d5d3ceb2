#include "widgets/pop_up_list.h"

#include <QListView>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>

#include "widgets/ui_style.h"

namespace halvard {

PopUpList::PopUpList(QWidget* parent) : QComboBox(parent) {
  setFont(ui_style::font(13));
  setAttribute(Qt::WA_Hover);
  auto* list = new QListView(this);
  list->setFont(font());
  list->setStyleSheet(
      QStringLiteral("QListView { background: white; border: 1px solid %1; padding: 3px 0; outline: 0; }"
                     // Without a ground of its own an entry would be drawn without its padding.
                     "QListView::item { min-height: 24px; padding-left: 8px; background: white; color: %2; }"
                     "QListView::item:selected { background: %3; color: %2; }")
          .arg(ui_style::panelBorderColor().name(), ui_style::primaryTextColor().name(),
               ui_style::pressedColor().name()));
  setView(list);
  // The list has a rim of its own.
  if (auto* frame = qobject_cast<QFrame*>(list->parentWidget())) frame->setFrameStyle(QFrame::NoFrame);
}

QSize PopUpList::sizeHint() const {
  int widest = 0;
  for (int index = 0; index < count(); ++index)
    widest = std::max(widest, fontMetrics().horizontalAdvance(itemText(index)));
  return {widest + 46, 28};
}

void PopUpList::wheelEvent(QWheelEvent* event) {
  event->ignore();
}

void PopUpList::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF bounds = QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5);
  painter.setBrush(underMouse() ? ui_style::hoverColor() : QColor(Qt::white));
  painter.setPen(hasFocus() ? QPen(ui_style::focusColor(), 2)
                            : QPen(underMouse() ? ui_style::accentColor() : ui_style::controlOutlineColor(), 1));
  painter.drawRoundedRect(bounds, 5, 5);
  painter.setPen(ui_style::primaryTextColor());
  painter.drawText(rect().adjusted(12, 0, -28, 0), Qt::AlignLeft | Qt::AlignVCenter, currentText());
  painter.setPen(QPen(ui_style::calmColor(), 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  const QPointF arrow(width() - 17.0, height() / 2.0 - 1.5);
  painter.drawPolyline(QPolygonF{arrow, arrow + QPointF(4, 4), arrow + QPointF(8, 0)});
}

}  // namespace halvard
