#include "preferences/ui/autostart_window.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

#include "widgets/push_button.h"
#include "widgets/text_label.h"
#include "widgets/ui_style.h"

namespace halvard {
namespace {

constexpr qreal kPointerHeight = 9;
constexpr qreal kPointerHalfWidth = 10;
constexpr qreal kRadius = 7;

/// Room for the pointer is left on both edges, so that the text stands in the same place.
QPainterPath outline(const QRectF& bounds, Qt::Edge edge, qreal apex) {
  const QRectF body = bounds.adjusted(0, kPointerHeight, 0, -kPointerHeight);
  const bool isOnTop = edge == Qt::TopEdge;
  const QPointF tip(apex, isOnTop ? bounds.top() : bounds.bottom());
  const qreal inwards = isOnTop ? kPointerHeight + 1 : -kPointerHeight - 1;
  QPainterPath pointer(tip);
  pointer.lineTo(tip + QPointF(kPointerHalfWidth, inwards));
  pointer.lineTo(tip + QPointF(-kPointerHalfWidth, inwards));
  pointer.closeSubpath();
  QPainterPath box;
  box.addRoundedRect(body, kRadius, kRadius);
  return pointer.united(box);
}

}  // namespace

AutostartWindow::AutostartWindow() : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint) {
  setAttribute(Qt::WA_TranslucentBackground);
  setAttribute(Qt::WA_QuitOnClose, false);
  setFixedSize(320, 164);
  setPointer(Qt::TopEdge, width() / 2);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 27, 24, 26);
  layout->setSpacing(6);
  cleanedSizeLabel = addCentredLine(*layout, {}, ui_style::font(14), ui_style::primaryTextColor());
  addCentredLine(*layout, tr("Start at login and free up memory automatically from now on?"), ui_style::font(12),
                 ui_style::secondaryTextColor());
  layout->addStretch();
  noButton = new PushButton(tr("No"), PushButton::Role::Other);
  yesButton = new PushButton(tr("Yes"), PushButton::Role::Offered);
  auto* row = new QHBoxLayout;
  row->setSpacing(10);
  row->addStretch();
  row->addWidget(noButton);
  row->addWidget(yesButton);
  row->addStretch();
  layout->addLayout(row);
}

void AutostartWindow::setPointer(Qt::Edge edge, int apex) {
  m_pointerEdge = edge;
  m_apex = apex;
  cutOutShape();
  update();
}

void AutostartWindow::setBlended(bool blended) {
  m_blended = blended;
  cutOutShape();
}

void AutostartWindow::cutOutShape() {
  if (m_blended) return clearMask();
  setMask(QRegion(outline(QRectF(rect()), m_pointerEdge, m_apex).toFillPolygon().toPolygon()));
}

/// Neither yes nor no: it may come again.
void AutostartWindow::keyPressEvent(QKeyEvent* event) {
  event->key() == Qt::Key_Escape ? void(close()) : QWidget::keyPressEvent(event);
}

void AutostartWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(Qt::white);
  painter.setPen(ui_style::panelBorderColor());
  painter.drawPath(outline(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), m_pointerEdge, m_apex));
}

}  // namespace halvard
