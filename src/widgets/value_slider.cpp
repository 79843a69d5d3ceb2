#include "widgets/value_slider.h"

#include <QMouseEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <cmath>

#include "widgets/ui_style.h"

namespace halvard {
namespace {

constexpr qreal kKnobRadius = 8;
constexpr qreal kMargin = 11;  // the knob and its focus ring stay inside
constexpr qreal kTrackMiddle = 12;
constexpr qreal kTrackHeight = 4;

}  // namespace

ValueSlider::ValueSlider(QWidget* parent) : QAbstractSlider(parent) {
  setOrientation(Qt::Horizontal);
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_Hover);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  connect(this, &QAbstractSlider::valueChanged, this, &ValueSlider::sendChosenValue);
}

void ValueSlider::setScale(double minimum, double maximum, double step, double keyStep) {
  const QScopedValueRollback quiet(m_quiet, true);
  m_minimum = minimum;
  m_maximum = maximum;
  m_step = step;
  setRange(0, static_cast<int>(std::lround((maximum - minimum) / step)));
  setSingleStep(static_cast<int>(std::lround(keyStep / step)));
  setPageStep(2 * singleStep());
}

void ValueSlider::setNumberOfTickMarks(int count) {
  m_tickMarks = count;
  update();
}

double ValueSlider::doubleValue() const {
  // Divided, not multiplied: 0.85 is then the nearest number to 0.85.
  return (std::round(m_minimum / m_step) + value()) / std::round(1 / m_step);
}

void ValueSlider::setDoubleValue(double newValue) {
  const QScopedValueRollback quiet(m_quiet, true);
  const double inside = std::isnan(newValue) ? m_minimum : std::clamp(newValue, m_minimum, m_maximum);
  setValue(static_cast<int>(std::lround((inside - m_minimum) / m_step)));
}

void ValueSlider::sendChosenValue() {
  if (!m_quiet) Q_EMIT valueChosen(doubleValue());
}

QSize ValueSlider::sizeHint() const {
  return {220, 30};
}

qreal ValueSlider::knobCentre() const {
  const qreal share = maximum() == 0 ? 0 : qreal(value()) / maximum();
  return kMargin + share * (width() - 2 * kMargin);
}

void ValueSlider::chooseAt(qreal x) {
  const qreal share = std::clamp((x - kMargin) / (width() - 2 * kMargin), 0.0, 1.0);
  setValue(static_cast<int>(std::lround(share * maximum())));
}

void ValueSlider::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  setSliderDown(true);
  chooseAt(event->position().x());
}

void ValueSlider::mouseMoveEvent(QMouseEvent* event) {
  if (isSliderDown()) chooseAt(event->position().x());
}

void ValueSlider::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  setSliderDown(false);
  update();
}

void ValueSlider::focusInEvent(QFocusEvent* event) {
  m_focusedByKey = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
  QAbstractSlider::focusInEvent(event);
  update();
}

void ValueSlider::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const qreal left = kMargin, right = width() - kMargin, knob = knobCentre();
  painter.setPen(QPen(ui_style::controlOutlineColor(), 1));
  for (int mark = 0; mark < m_tickMarks && m_tickMarks > 1; ++mark) {
    const qreal x = std::round(left + mark * (right - left) / (m_tickMarks - 1)) + 0.5;
    painter.drawLine(QPointF(x, kTrackMiddle + 11), QPointF(x, kTrackMiddle + 15));
  }
  const QRectF track(left - 2, kTrackMiddle - kTrackHeight / 2, right - left + 4, kTrackHeight);
  painter.setPen(Qt::NoPen);
  painter.setBrush(ui_style::titleBarSeparatorColor());
  painter.drawRoundedRect(track, kTrackHeight / 2, kTrackHeight / 2);
  painter.setBrush(ui_style::accentColor());
  painter.drawRoundedRect(QRectF(track.topLeft(), QPointF(knob, track.bottom())), kTrackHeight / 2, kTrackHeight / 2);
  painter.setBrush(QColor(0, 40, 60, 28));
  painter.drawEllipse(QPointF(knob, kTrackMiddle + 1), kKnobRadius + 0.5, kKnobRadius + 0.5);
  painter.setPen(QPen(isSliderDown() || underMouse() ? ui_style::accentColor() : ui_style::controlOutlineColor(), 1.2));
  painter.setBrush(isSliderDown() ? ui_style::pressedColor() : QColor(Qt::white));
  painter.drawEllipse(QPointF(knob, kTrackMiddle), kKnobRadius - 0.6, kKnobRadius - 0.6);
  if (!hasFocus() || !m_focusedByKey) return;
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(ui_style::focusColor(), 2));
  painter.drawEllipse(QPointF(knob, kTrackMiddle), kKnobRadius + 1.5, kKnobRadius + 1.5);
}

}  // namespace halvard
