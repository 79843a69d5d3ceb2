#include "app/about_window.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

#include "core/application_identity.h"
#include "widgets/gauge_icon.h"
#include "widgets/text_button.h"
#include "widgets/text_label.h"
#include "widgets/ui_style.h"

namespace halvard {

AboutWindow::AboutWindow(const std::vector<ShareButton>& shareButtons) {
  const QString name = application_identity::kDisplayName;
  setWindowTitle(tr("About %1").arg(name));
  setAttribute(Qt::WA_QuitOnClose, false);
  setFixedSize(320, shareButtons.empty() ? 234 : 272);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(28, 110, 28, 24);
  layout->setSpacing(4);
  addCentredLine(*layout, name, ui_style::font(20, QFont::DemiBold), ui_style::primaryTextColor());
  addCentredLine(*layout, tr("Version %1").arg(QCoreApplication::applicationVersion()), ui_style::font(12),
                 ui_style::secondaryTextColor());
  layout->addSpacing(8);
  addCentredLine(*layout, tr("Shows how full the memory of this computer is, and frees it."), ui_style::font(12),
                 ui_style::secondaryTextColor());
  layout->addStretch();
  if (!shareButtons.empty()) addShareButtons(*layout, shareButtons);
}

void AboutWindow::addShareButtons(QVBoxLayout& layout, const std::vector<ShareButton>& shareButtons) {
  auto* row = new QHBoxLayout;
  row->setSpacing(14);
  row->addStretch();
  row->addWidget(makeLabel(tr("Share on"), ui_style::font(12), ui_style::secondaryTextColor()));
  for (const ShareButton& entry : shareButtons) {
    auto* button = new TextButton(entry.title);
    connect(button, &TextButton::clicked, this, entry.share);
    row->addWidget(button);
  }
  row->addStretch();
  layout.addLayout(row);
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
