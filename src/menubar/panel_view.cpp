#include "menubar/panel_view.h"

#include <QPainter>
#include <QPainterPath>

#include "menubar/panel_layout.h"
#include "widgets/ui_style.h"

namespace halvard {

using namespace panel_layout;
using panel_placement::TriangleEdge;

namespace {
constexpr qreal kCornerRadius = 7;
}

PanelView::PanelView(QWidget* parent) : QWidget(parent), m_apex(kPanelWidth / 2) {}

void PanelView::setShowTriangle(bool show) {
  if (m_showTriangle == show) return;
  m_showTriangle = show;
  update();
  Q_EMIT outlineChanged();
}

void PanelView::pointAt(TriangleEdge edge, int apex) {
  if (m_pointsAtItem && m_edge == edge && m_apex == apex) return;
  m_pointsAtItem = true;
  m_edge = edge;
  m_apex = apex;
  update();
  Q_EMIT outlineChanged();
}

void PanelView::pointAtNothing() {
  if (!m_pointsAtItem) return;
  m_pointsAtItem = false;
  update();
  Q_EMIT outlineChanged();
}

int PanelView::bodyOffset() const {
  return drawsTriangle() && m_edge == TriangleEdge::Bottom ? -kTriangleHeight : 0;
}

QRectF PanelView::bodyRect() const {
  return QRectF(0, kTriangleHeight + bodyOffset(), width(), height() - kTriangleHeight);
}

QPainterPath PanelView::outline() const {
  QPainterPath path;
  path.addRoundedRect(bodyRect().adjusted(0.5, 0.5, -0.5, -0.5), kCornerRadius, kCornerRadius);
  if (!drawsTriangle()) return path;
  const bool atTop = m_edge == TriangleEdge::Top;
  const qreal base = atTop ? kTriangleHeight + 1 : height() - kTriangleHeight - 1;
  const qreal tip = atTop ? 0.5 : height() - 0.5;
  QPainterPath triangle;
  triangle.addPolygon(QPolygonF{QPointF(m_apex - kTriangleHalfWidth - 1, base), QPointF(m_apex, tip),
                                QPointF(m_apex + kTriangleHalfWidth + 1, base)});
  triangle.closeSubpath();
  return path.united(triangle);
}

void PanelView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QPainterPath shape = outline();
  const QRectF body = bodyRect();
  const qreal separator = body.top() + kTitleBarHeight;
  painter.fillPath(shape, Qt::white);
  painter.save();
  painter.setClipPath(shape);
  painter.fillRect(QRectF(0, 0, width(), separator), ui_style::titleBarColor());
  painter.fillRect(QRectF(0, separator, width(), 1), ui_style::titleBarSeparatorColor());
  painter.restore();
  painter.strokePath(shape, QPen(ui_style::panelBorderColor(), 1));
}

void PanelView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  Q_EMIT outlineChanged();
}

}  // namespace halvard
