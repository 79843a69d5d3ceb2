#pragma once

#include <QObject>

#include "core/clock.h"
#include "promo/ui/page_window.h"

namespace halvard {

class NotificationCenter;
class PromoManager;
class Workspace;

/// The window that presents tools for the disk. One at a time; the controller lives as long as the program.
class ShowcaseDialogWC : public QObject {
  Q_OBJECT

 public:
  /// The references outlive this object.
  ShowcaseDialogWC(PromoManager& promo, Workspace& workspace, NotificationCenter& notifications, Clock& clock,
                   PageWindow::Make makeWindow);

  static QString ShowcaseHtmlChangedNotificationName();

  /// Opens a new window, in place of one that is open, after the current event.
  void pleaseShowWindow();
  void pleaseShowWindowSafe();
  void closeShowcaseWC();
  bool isOpen() const { return m_window != nullptr; }

  /// What the page's button does: the main window comes, the showcase goes.
  void startUsingAppButtonPressed();
  void cancelOperation() { closeShowcaseWC(); }
  void hiddenCloseButtonPressed() { closeShowcaseWC(); }

 Q_SIGNALS:
  /// The main window is to be shown and made active.
  void mainWindowRequested();
  /// The window has closed: a usage event.
  void closed();

 private:
  void reloadContent();
  void onHtmlChanged() { reloadContent(); }
  void follow(const QUrl& link);
  void windowHasClosed();

  PromoManager& m_promo;
  Workspace& m_workspace;
  const PageWindow::Make m_makeWindow;
  std::unique_ptr<PageWindow> m_window;
  ScheduledCall m_showLater;
};

}  // namespace halvard
