#include "widgets/clean_memory_button.h"

#include <QEnterEvent>
#include <QPainter>
#include <QPainterPath>
#include <utility>

#include "widgets/ui_style.h"

namespace halvard {
namespace {

const QColor kTitleColor(18, 90, 139);
const QColor kProgressGround(220, 244, 254);
const QColor kProgressDone(116, 214, 251);
constexpr qreal kTitleBaselineOffset = 2.0;
constexpr qreal kCornerRadius = 6.0;

struct Background {
  QColor top;
  QColor bottom;
  QColor rim;
};

// "blue_btn_bg", "blue_btn_bg_hover" and "blue_btn_bg_click".
const Background kIdle{{229, 246, 254}, {201, 235, 251}, {126, 190, 222}};
const Background kHovered{{238, 250, 255}, {214, 242, 254}, {95, 176, 216}};
const Background kPressed{{190, 228, 247}, {206, 237, 251}, {88, 160, 199}};

QRectF rimRect(const QRectF& bounds) {
  return bounds.adjusted(0.5, 0.5, -0.5, -0.5);
}

void drawBackground(QPainter& painter, const QRectF& bounds, const Background& background) {
  QLinearGradient gradient(bounds.topLeft(), bounds.bottomLeft());
  gradient.setColorAt(0, background.top);
  gradient.setColorAt(1, background.bottom);
  painter.setBrush(gradient);
  painter.setPen(background.rim);
  painter.drawRoundedRect(rimRect(bounds), kCornerRadius, kCornerRadius);
}

/// "blue_btn_bg_mask": nothing inside, the rim, and the panel's white in the corners.
void drawMask(QPainter& painter, const QRectF& bounds) {
  QPainterPath corners;
  corners.addRect(bounds);
  QPainterPath inside;
  inside.addRoundedRect(rimRect(bounds), kCornerRadius, kCornerRadius);
  painter.fillPath(corners.subtracted(inside), Qt::white);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(kIdle.rim);
  painter.drawPath(inside);
}

}  // namespace

CleanMemoryButton::CleanMemoryButton(QWidget* parent) : FocusRingButton(parent) {
  setFont(ui_style::font(13, QFont::Medium));
  setAttribute(Qt::WA_Hover, false);
}

void CleanMemoryButton::setTracking(bool tracking) {
  m_tracking = tracking;
  m_hovered = tracking && underMouse();
  update();
}

void CleanMemoryButton::beginProgressUpdate() {
  m_disabledLook = true;
  m_progress = 0;
  setTracking(false);
  if (window()->focusWidget() != this) return;
  m_focus = showsFocus() ? Qt::TabFocusReason : Qt::OtherFocusReason;
  clearFocus();
}

void CleanMemoryButton::endProgressUpdate() {
  m_disabledLook = false;
  setTracking(true);
  const auto focus = std::exchange(m_focus, std::nullopt);
  if (focus && !window()->focusWidget()) setFocus(*focus);
}

void CleanMemoryButton::setProgess(float progress) {
  m_progress = progress;
  update();
}

void CleanMemoryButton::setTitle(const QString& title) {
  setText(title);
  setAccessibleName(title);
}

QSize CleanMemoryButton::sizeHint() const {
  return {218, 28};
}

QImage CleanMemoryButton::progressImage(QSize size, qreal devicePixelRatio, float progress) {
  QImage image(size, QImage::Format_ARGB32_Premultiplied);
  image.setDevicePixelRatio(devicePixelRatio);
  image.fill(kProgressGround);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF bounds(QPointF(0, 0), QSizeF(size) / devicePixelRatio);
  painter.fillRect(QRectF(0, 0, static_cast<qreal>(progress) * bounds.width(), bounds.height()), kProgressDone);
  drawMask(painter, bounds);
  return image;
}

void CleanMemoryButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  if (m_disabledLook) {
    painter.drawImage(QPointF(0, 0), progressImage(size() * devicePixelRatioF(), devicePixelRatioF(), m_progress));
  } else {
    drawBackground(painter, rect(), isDown() ? kPressed : m_hovered ? kHovered : kIdle);
  }
  if (showsFocus()) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(ui_style::focusColor(), 2));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), kCornerRadius - 0.5, kCornerRadius - 0.5);
  }
  painter.setPen(kTitleColor);
  painter.setFont(font());
  // The baseline stands above the optical middle; the offset is counted from the text's own box.
  painter.drawText(QRectF(rect()).translated(0, 1 - kTitleBaselineOffset / 2), Qt::AlignCenter, text());
}

void CleanMemoryButton::enterEvent(QEnterEvent* event) {
  m_hovered = m_tracking;
  update();
  FocusRingButton::enterEvent(event);
}

void CleanMemoryButton::leaveEvent(QEvent* event) {
  m_hovered = false;
  update();
  FocusRingButton::leaveEvent(event);
}

}  // namespace halvard
