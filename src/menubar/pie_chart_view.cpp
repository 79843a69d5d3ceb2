#include "menubar/pie_chart_view.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "core/size_format.h"
#include "widgets/hint_window.h"
#include "widgets/ui_style.h"

namespace halvard {
namespace {

constexpr float kRadius = 105.0F;
constexpr float kRingWidth = 20.0F;
constexpr std::chrono::milliseconds kTick{1000 / 30};
/// A shorter way of an edge along the rim is not drawn before others add to it; in pixels of the screen.
constexpr double kSeenPixels = 0.25;

QRectF squareAround(qreal radius) {
  return {-radius, -radius, 2 * radius, 2 * radius};
}

QPainterPath ring() {
  QPainterPath path;
  path.addEllipse(squareAround(kRadius));
  QPainterPath hole;
  hole.addEllipse(squareAround(kRadius - kRingWidth));
  return path.subtracted(hole);
}

/// A piece of the ring; angles in degrees, counter-clockwise from the right, a negative sweep runs clockwise.
QPainterPath ringPiece(float start, float sweep) {
  QPainterPath path;
  path.arcMoveTo(squareAround(kRadius), start);
  path.arcTo(squareAround(kRadius), start, sweep);
  path.arcTo(squareAround(kRadius - kRingWidth), start + sweep, -sweep);
  path.closeSubpath();
  return path;
}

}  // namespace

PieChartView::PieChartView(Clock& clock, HintWindow& hint, QWidget* parent)
    : QWidget(parent), m_clock(clock), m_hint(hint), m_timer(clock) {
  setMouseTracking(true);
  setAccessibleName(tr("Memory chart"));
  rebuildPaths();
}

void PieChartView::setSystemUsagePercent(double systemUsage, double userUsage) {
  const bool isSame = m_systemUsage.target() == systemUsage && m_userUsage.target() == userUsage;
  m_systemUsage.setTarget(systemUsage);
  m_userUsage.setTarget(userUsage);
  if (!isVisible() || isSame || !isMoveSeen()) return;
  if (QGuiApplication::applicationState() == Qt::ApplicationActive) {
    startAnimatingUpdate();
    return;
  }
  m_systemUsage.jump();
  m_userUsage.jump();
  rebuildPaths();
  update();
}

// The counters tremble each second by less than any eye could see on the ring.
bool PieChartView::isMoveSeen() const {
  const double circumference = std::numbers::pi * width() * devicePixelRatioF();
  const double systemEdge = m_systemUsage.rest();
  const double userEdge = systemEdge + m_userUsage.rest();
  return std::max(std::abs(systemEdge), std::abs(userEdge)) * circumference >= kSeenPixels;
}

void PieChartView::setWiredSize(ByteCount wired, ByteCount user, ByteCount free) {
  m_wiredSize = wired;
  m_userSize = user;
  m_freeSize = free;
  if (isVisible()) describe();
}

void PieChartView::describe() {
  setAccessibleDescription(tooltipForSegmentByIndex(0) + u'\n' + tooltipForSegmentByIndex(1) + u'\n' +
                           tooltipForSegmentByIndex(2));
}

void PieChartView::startAnimationFromZeroSize() {
  m_systemUsage.restartFromZero();
  m_userUsage.restartFromZero();
  rebuildPaths();
  update();
  startAnimatingUpdate();
}

void PieChartView::startAnimatingUpdate() {
  m_systemUsage.begin();
  m_userUsage.begin();
  tick();
}

void PieChartView::tick() {
  const bool systemMoved = m_systemUsage.tick();
  const bool userMoved = m_userUsage.tick();
  if (!systemMoved && !userMoved) {
    m_timer.cancel();
    return;
  }
  rebuildPaths();
  update();
  m_timer.start(kTick, [this] { tick(); });
}

double PieChartView::sizeForSegmentByIndex(int index) const {
  switch (index) {
    case 0:
      return m_systemUsage.current();
    case 1:
      return m_userUsage.current();
    case 2:
      return 1 - m_systemUsage.current() - m_userUsage.current();
    default:
      return 0;
  }
}

QColor PieChartView::colorForSegmentByIndex(int index) const {
  switch (index) {
    case 0:
      return ui_style::pieChartSystemColor();
    case 1:
      return ui_style::pieChartUserColor();
    case 2:
      return ui_style::pieChartFreeColor();
    default:
      return Qt::white;
  }
}

QString PieChartView::tooltipForSegmentByIndex(int index) const {
  const auto text = [](ByteCount bytes) { return stringFromSize(static_cast<std::int64_t>(bytes)); };
  switch (index) {
    case 0:
      return tr("System memory usage\nWired memory: %1").arg(text(m_wiredSize));
    case 1:
      return tr("User memory usage\nApp memory: %1").arg(text(m_userSize));
    case 2:
      return tr("Free memory: %1").arg(text(m_freeSize));
    default:
      return {};
  }
}

QString PieChartView::stringFromSize(std::int64_t bytes) {
  return size_format::stringFromSize(bytes, 1024.0);
}

QTransform PieChartView::toView() const {
  const qreal scale = std::min(width(), height()) / (2.0 * static_cast<qreal>(kRadius));
  return QTransform::fromTranslate(width() / 2.0, height() / 2.0).scale(scale, scale);
}

void PieChartView::rebuildPaths() {
  float angle = 90.0F;
  for (int index = 0; index < 3; ++index) {
    const float sweep = static_cast<float>(sizeForSegmentByIndex(index)) * -360.0F;
    m_segmentPaths.at(static_cast<std::size_t>(index)) = ringPiece(angle, sweep);
    angle += sweep;
  }
}

int PieChartView::segmentAt(QPointF position) const {
  const QPointF point = toView().inverted().map(position);
  for (std::size_t index = 0; index < m_segmentPaths.size(); ++index) {
    if (m_segmentPaths.at(index).contains(point)) return static_cast<int>(index);
  }
  return -1;
}

void PieChartView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setTransform(toView(), true);
  painter.fillPath(ring(), colorForSegmentByIndex(2));
  for (int index = 0; index < 2; ++index) {
    painter.fillPath(m_segmentPaths.at(static_cast<std::size_t>(index)), colorForSegmentByIndex(index));
  }
}

void PieChartView::mouseMoveEvent(QMouseEvent* event) {
  const int segment = segmentAt(event->position());
  if (segment < 0) {
    m_hint.hideItself();
  } else if (!m_hint.isVisible() || m_hint.tag != segment) {
    m_hint.showWithText(tooltipForSegmentByIndex(segment), event->globalPosition().toPoint());
    m_hint.tag = segment;
  }
}

void PieChartView::leaveEvent(QEvent*) {
  m_hint.hideItself();
}

void PieChartView::showEvent(QShowEvent*) {
  m_systemUsage.jump();
  m_userUsage.jump();
  rebuildPaths();
  describe();
}

}  // namespace halvard
