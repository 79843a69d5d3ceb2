#include "crash/ui/crash_alert_window.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include "widgets/gauge_icon.h"
#include "widgets/ui_style.h"

namespace halvard {
namespace {

constexpr int kWidth = 500;
constexpr int kIconSide = 64;
constexpr int kMargin = 24;
constexpr int kTextLeft = kMargin + kIconSide + 20;

QLabel* addText(QVBoxLayout& layout, const QString& text, const QFont& font, const QColor& color) {
  auto* const label = new QLabel(text);
  label->setFont(font);
  label->setWordWrap(true);
  label->setTextFormat(Qt::PlainText);
  QPalette colors = label->palette();
  colors.setColor(QPalette::WindowText, color);
  label->setPalette(colors);
  layout.addWidget(label);
  return label;
}

QString buttonStyle(bool isDefault) {
  const QColor fill = isDefault ? ui_style::calmColor() : QColor(Qt::white);
  const QColor hover = isDefault ? ui_style::calmColor().lighter(125) : ui_style::hoverColor();
  const QColor text = isDefault ? QColor(Qt::white) : ui_style::primaryTextColor();
  return QStringLiteral(
             "QPushButton { background: %1; color: %2; border: 1px solid %3; border-radius: 5px; padding: 6px 16px; }"
             "QPushButton:hover { background: %4; }"
             "QPushButton:focus { border-color: %5; }")
      .arg(fill.name(), text.name(), ui_style::panelBorderColor().name(), hover.name(), ui_style::focusColor().name());
}

void paintCriticalBadge(QPainter& painter, QPointF center) {
  constexpr double radius = 13;
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(Qt::white, 2));
  painter.setBrush(ui_style::dangerColor());
  painter.drawEllipse(center, radius, radius);
  painter.setFont(ui_style::font(19, QFont::Bold));
  painter.setPen(Qt::white);
  painter.drawText(QRectF(center.x() - radius, center.y() - radius, 2 * radius, 2 * radius), Qt::AlignCenter,
                   QStringLiteral("!"));
}

}  // namespace

CrashAlertWindow::CrashAlertWindow(const QString& title, const CrashAlertContent& content)
    : m_button(static_cast<int>(content.buttons.size()) - 1) {
  setWindowTitle(title);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(kTextLeft, kMargin, kMargin, 20);
  layout->setSpacing(10);
  addTexts(*layout, content);
  layout->addSpacing(8);
  addButtons(*layout, content.buttons);
  ensurePolished();
  setFixedSize(kWidth, layout->totalHeightForWidth(kWidth));
}

void CrashAlertWindow::addTexts(QVBoxLayout& layout, const CrashAlertContent& content) {
  addText(layout, content.message, ui_style::font(14, QFont::DemiBold), ui_style::primaryTextColor());
  addText(layout, content.informativeText, ui_style::font(12), ui_style::secondaryTextColor());
  if (!content.suppression) return;
  m_suppression = new QCheckBox(*content.suppression);
  m_suppression->setFont(ui_style::font(12));
  QPalette colors = m_suppression->palette();
  colors.setColor(QPalette::WindowText, ui_style::primaryTextColor());
  m_suppression->setPalette(colors);
  layout.addWidget(m_suppression);
}

void CrashAlertWindow::addButtons(QVBoxLayout& layout, const QStringList& titles) {
  auto* const row = new QHBoxLayout;
  row->setSpacing(10);
  row->addStretch();
  for (int index = 0; index < titles.size(); ++index) {
    auto* const button = new QPushButton(titles[index]);
    button->setFont(ui_style::font(12, index == 0 ? QFont::DemiBold : QFont::Normal));
    button->setStyleSheet(buttonStyle(index == 0));
    button->setDefault(index == 0);
    connect(button, &QPushButton::clicked, this, [this, index] {
      m_button = index;
      accept();
    });
    row->addWidget(button);
    if (index == 0) button->setFocus();
  }
  layout.addLayout(row);
}

CrashAlertAnswer CrashAlertWindow::answer() const {
  return {m_button, m_suppression && m_suppression->isChecked()};
}

void CrashAlertWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), Qt::white);
  QImage icon = gaugeIcon(QStringLiteral("icon_memory_60"), static_cast<int>(kIconSide * devicePixelRatioF()));
  icon.setDevicePixelRatio(devicePixelRatioF());
  painter.drawImage(QPointF(kMargin, kMargin), icon);
  paintCriticalBadge(painter, QPointF(kMargin + kIconSide - 10, kMargin + kIconSide - 8));
}

}  // namespace halvard
