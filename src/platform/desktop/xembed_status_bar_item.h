#pragma once

#include <QSystemTrayIcon>

#include "platform/desktop/x11_tray_manager.h"
#include "platform/ports/status_bar_item.h"
#include "platform/ports/status_images.h"

namespace halvard {

/// The status item as a window in an X11 system tray. Such trays show a picture and nothing else, so the title is
/// drawn into it.
class XEmbedStatusBarItem : public StatusBarItem {
  Q_OBJECT

 public:
  explicit XEmbedStatusBarItem(StatusImageSource images, QObject* parent = nullptr);

  void setImage(const QString& imageName) override;
  void setAlternateImage(const QString&) override {}
  void setTitle(const AttributedTitle& title) override;
  void setAlternateTitle(const AttributedTitle&) override {}
  void setToolTip(const QString& toolTip) override;
  /// Exact.
  std::optional<QRect> geometry() const override;
  bool isShown() const override { return m_tray.isPresent(); }

 private:
  void updateIcon();
  void trayActivated(QSystemTrayIcon::ActivationReason reason);

  StatusImageSource m_images;
  X11TrayManager m_tray;
  QSystemTrayIcon m_icon;
  QString m_imageName;
  QString m_title;
};

}  // namespace halvard
