#include "files_searcher/ui/disk_figure_row.h"

#include <QPainter>

#include "files_searcher/ui/disk_usage_style.h"
#include "widgets/ui_style.h"

namespace halvard {
namespace {
constexpr int kHeight = 32;
constexpr int kChevronRoom = 16;
}  // namespace

DiskFigureRow::DiskFigureRow(const QString& name, const QColor& mark, QWidget* parent)
    : FocusRingButton(parent), m_mark(mark), m_figure(new TextButton({}, this)) {
  setText(name);
  setFont(ui_style::font(13));
  setFixedSize(disk_usage_style::kWidth, kHeight);
  setCursor(Qt::PointingHandCursor);
  m_figure->setToolTip(tr("Search again"));
  connect(m_figure, &TextButton::clicked, this, &DiskFigureRow::sizeLabelPressed);
  setLeadsOn(false);
}

void DiskFigureRow::setFigure(const QString& figure, bool enabled) {
  m_figure->setText(figure);
  m_figure->setAccessibleName(QStringLiteral("%1: %2").arg(text(), figure));
  m_figure->setEnabled(enabled);
  m_figure->setVisible(!figure.isEmpty());
  const QSize size = m_figure->sizeHint();
  const int right = width() - disk_usage_style::kMargin - kChevronRoom;
  m_figure->setGeometry(right - size.width(), (height() - size.height()) / 2, size.width(), size.height());
  m_figure->update();
}

void DiskFigureRow::setLeadsOn(bool leadsOn) {
  m_leadsOn = leadsOn;
  setFocusPolicy(leadsOn ? Qt::StrongFocus : Qt::NoFocus);
  setCursor(leadsOn ? Qt::PointingHandCursor : Qt::ArrowCursor);
  setAccessibleName(text());
  update();
}

void DiskFigureRow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  if (m_leadsOn && (underMouse() || isDown())) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(isDown() ? ui_style::pressedColor() : ui_style::hoverColor());
    painter.drawRoundedRect(QRectF(rect()).adjusted(10, 1, -10, -1), 6, 6);
  }
  if (showsFocus()) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(ui_style::focusColor(), 1.5));
    painter.drawRoundedRect(QRectF(rect()).adjusted(11, 2, -11, -2), 6, 6);
  }
  const QPointF middle(disk_usage_style::kMargin + 4, height() / 2.0);
  painter.setPen(Qt::NoPen);
  painter.setBrush(m_mark);
  painter.drawEllipse(middle, 4, 4);
  painter.setFont(font());
  painter.setPen(ui_style::primaryTextColor());
  painter.drawText(rect().adjusted(disk_usage_style::kMargin + 18, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft, text());
  if (!m_leadsOn) return;
  const QPointF tip(width() - disk_usage_style::kMargin, height() / 2.0);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(QColor(150, 164, 175), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.drawPolyline(QPolygonF{tip + QPointF(-4, -4), tip, tip + QPointF(-4, 4)});
}

}  // namespace halvard
