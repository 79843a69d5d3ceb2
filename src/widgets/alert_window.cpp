#include "widgets/alert_window.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>
#include <utility>

#include "widgets/check_box.h"
#include "widgets/gauge_icon.h"
#include "widgets/text_label.h"
#include "widgets/ui_style.h"

namespace halvard {
namespace {

constexpr int kWidth = 500;
constexpr int kIconSide = 64;
constexpr int kMargin = 24;
constexpr int kTextLeft = kMargin + kIconSide + 20;

void addText(QVBoxLayout& layout, const QString& text, const QFont& font, const QColor& color) {
  QLabel* label = makeLabel(text, font, color);
  label->setWordWrap(true);
  label->setTextFormat(Qt::PlainText);
  layout.addWidget(label);
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

AlertWindow::AlertWindow(const QString& title, const Alert& alert, QWidget* parent)
    : QDialog(parent), m_isCritical(alert.isCritical), m_button(static_cast<int>(alert.buttons.size()) - 1) {
  setWindowTitle(title);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(kTextLeft, kMargin, kMargin, 20);
  layout->setSpacing(10);
  addTexts(*layout, alert);
  layout->addSpacing(8);
  addButtons(*layout, alert.buttons);
  ensurePolished();
  setFixedSize(kWidth, layout->totalHeightForWidth(kWidth));
}

void AlertWindow::addTexts(QVBoxLayout& layout, const Alert& alert) {
  addText(layout, alert.message, ui_style::font(14, QFont::DemiBold), ui_style::primaryTextColor());
  addText(layout, alert.informativeText, ui_style::font(12), ui_style::secondaryTextColor());
  if (!alert.suppression) return;
  m_suppression = new CheckBox(*alert.suppression);
  layout.addWidget(m_suppression);
}

void AlertWindow::addButtons(QVBoxLayout& layout, const QStringList& titles) {
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

AlertAnswer AlertWindow::answer() const {
  return {m_button, m_suppression && m_suppression->isChecked()};
}

void AlertWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), Qt::white);
  QImage icon = gaugeIcon(QStringLiteral("icon_memory_60"), static_cast<int>(kIconSide * devicePixelRatioF()));
  icon.setDevicePixelRatio(devicePixelRatioF());
  painter.drawImage(QPointF(kMargin, kMargin), icon);
  if (m_isCritical) paintCriticalBadge(painter, QPointF(kMargin + kIconSide - 10, kMargin + kIconSide - 8));
}

AlertWindows::AlertWindows(QString title) : m_title(std::move(title)) {}

AlertWindows::~AlertWindows() {
  for (const QPointer<QWidget>& window : std::as_const(m_open))
    delete window;
}

void AlertWindows::show(const Alert& alert, Done done) {
  auto* const window = new AlertWindow(m_title, alert);
  window->setAttribute(Qt::WA_QuitOnClose, false);
  m_open.removeAll(nullptr);
  m_open << window;
  connect(window, &QDialog::finished, this, [window, done = std::move(done)] {
    window->deleteLater();
    if (done) done(window->answer());
  });
  window->show();
  window->raise();
  window->activateWindow();
}

AlertAnswer AlertWindows::runModal(const Alert& alert) {
  AlertWindow window(m_title, alert);
  window.exec();
  return window.answer();
}

}  // namespace halvard
