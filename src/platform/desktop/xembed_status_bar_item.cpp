#include "platform/desktop/xembed_status_bar_item.h"

#include <utility>

#include "platform/desktop/status_icon_engine.h"

namespace halvard {

XEmbedStatusBarItem::XEmbedStatusBarItem(StatusImageSource images, QObject* parent)
    : StatusBarItem(parent), m_images(std::move(images)) {
  connect(&m_icon, &QSystemTrayIcon::activated, this, &XEmbedStatusBarItem::trayActivated);
  connect(&m_tray, &X11TrayManager::changed, this, &StatusBarItem::shownChanged);
}

void XEmbedStatusBarItem::setImage(const QString& imageName) {
  if (imageName == m_imageName) return;
  m_imageName = imageName;
  updateIcon();
}

void XEmbedStatusBarItem::setTitle(const AttributedTitle& title) {
  if (title.text == m_title) return;
  m_title = title.text;
  updateIcon();
}

void XEmbedStatusBarItem::setToolTip(const QString& toolTip) {
  if (toolTip != m_icon.toolTip()) m_icon.setToolTip(toolTip);
}

std::optional<QRect> XEmbedStatusBarItem::geometry() const {
  const QRect rect = m_icon.geometry();
  return isShown() && rect.isValid() ? std::optional(rect) : std::nullopt;
}

void XEmbedStatusBarItem::updateIcon() {
  m_icon.setIcon(m_imageName.isEmpty() ? QIcon() : QIcon(new StatusIconEngine(m_images, m_imageName, m_title)));
  m_icon.setVisible(true);
}

void XEmbedStatusBarItem::trayActivated(QSystemTrayIcon::ActivationReason reason) {
  // A double click follows the single one that already counted; the wheel button means nothing here.
  if (reason == QSystemTrayIcon::Trigger) Q_EMIT activated(MouseButton::Left);
  if (reason == QSystemTrayIcon::Context) Q_EMIT activated(MouseButton::Right);
}

}  // namespace halvard
