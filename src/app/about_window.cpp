#include "app/about_window.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include "core/application_identity.h"
#include "widgets/gauge_icon.h"
#include "widgets/ui_style.h"

namespace halvard {
namespace {

QLabel* addLine(QVBoxLayout& layout, const QString& text, const QFont& font, const QColor& color) {
  auto* label = new QLabel(text);
  label->setFont(font);
  label->setAlignment(Qt::AlignCenter);
  label->setWordWrap(true);
  QPalette colors = label->palette();
  colors.setColor(QPalette::WindowText, color);
  label->setPalette(colors);
  layout.addWidget(label);
  return label;
}

}  // namespace

AboutWindow::AboutWindow() {
  const QString name = application_identity::kDisplayName;
  setWindowTitle(tr("About %1").arg(name));
  setAttribute(Qt::WA_QuitOnClose, false);
  setFixedSize(320, 250);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(28, 110, 28, 24);
  layout->setSpacing(4);
  addLine(*layout, name, ui_style::font(20, QFont::DemiBold), ui_style::primaryTextColor());
  addLine(*layout, tr("Version %1").arg(QCoreApplication::applicationVersion()), ui_style::font(12),
          ui_style::secondaryTextColor());
  layout->addSpacing(8);
  addLine(*layout, tr("Shows how full the memory of this computer is, and frees it. Nothing leaves the computer."),
          ui_style::font(12), ui_style::secondaryTextColor());
  layout->addStretch();
}

void AboutWindow::paintEvent(QPaintEvent*) {
  constexpr int side = 72;
  QPainter painter(this);
  painter.fillRect(rect(), Qt::white);
  QImage icon = gaugeIcon(QStringLiteral("icon_memory_60"), static_cast<int>(side * devicePixelRatioF()));
  icon.setDevicePixelRatio(devicePixelRatioF());
  painter.drawImage(QPointF((width() - side) / 2.0, 28), icon);
}

void AboutWindow::keyPressEvent(QKeyEvent* event) {
  event->key() == Qt::Key_Escape ? void(close()) : QWidget::keyPressEvent(event);
}

}  // namespace halvard
