#pragma once

#include <QObject>

#include "core/clock.h"
#include "promo/ui/page_window.h"

namespace halvard {

class NotificationCenter;
class PromoManager;
class Workspace;

/// The news popup: opens at the status item, goes as soon as another window is active. Lives as long as the program.
class NewsDialogWC : public QObject {
  Q_OBJECT

 public:
  /// The references outlive this object.
  NewsDialogWC(PromoManager& promo, Workspace& workspace, NotificationCenter& notifications, Clock& clock,
               PageWindow::Make makeWindow);

  static QString NewsHtmlChangedNotificationName();

  /// Opens the popup with its lower left corner 15 pixels left of and below `point`, and marks the news as read.
  /// Nothing while it is visible.
  void showAtPosition(const QPoint& point);
  void hideItself();

  /// True from showAtPosition() until 0.1 s after the popup has closed, so that the click that closed it does not open
  /// it again.
  bool visible() const { return m_visible; }
  void setVisible(bool visible) { m_visible = visible; }

 private:
  void loadPage();
  void follow(const QUrl& link);
  void windowWillClose();
  void changeVisibility() { m_visible = false; }

  PromoManager& m_promo;
  Workspace& m_workspace;
  const PageWindow::Make m_makeWindow;
  std::unique_ptr<PageWindow> m_window;
  ScheduledCall m_changeVisibility;
  bool m_visible = false;
};

}  // namespace halvard
