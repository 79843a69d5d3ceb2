#include "promo/ui/showcase_dialog_wc.h"

#include "core/notification_center.h"
#include "platform/ports/workspace.h"
#include "promo/page_links.h"
#include "promo/promo_manager.h"

namespace halvard {

using namespace std::chrono_literals;

ShowcaseDialogWC::ShowcaseDialogWC(PromoManager& promo, Workspace& workspace, NotificationCenter& notifications,
                                   Clock& clock, PageWindow::Make makeWindow)
    : m_promo(promo), m_workspace(workspace), m_makeWindow(std::move(makeWindow)), m_showLater(clock) {
  notifications.addObserver(ShowcaseHtmlChangedNotificationName(), this, [this](const QVariant&) { onHtmlChanged(); });
}

QString ShowcaseDialogWC::ShowcaseHtmlChangedNotificationName() {
  return PromoManager::kShowcaseHtmlChanged;
}

void ShowcaseDialogWC::pleaseShowWindow() {
  m_showLater.start(0ms, [this] { pleaseShowWindowSafe(); });
}

void ShowcaseDialogWC::pleaseShowWindowSafe() {
  m_window = m_makeWindow(PageWindow::Look::Dialog);
  connect(m_window.get(), &PageWindow::linkActivated, this, &ShowcaseDialogWC::follow);
  connect(m_window.get(), &PageWindow::closed, this, &ShowcaseDialogWC::windowHasClosed);
  reloadContent();
  m_window->show(std::nullopt);
}

void ShowcaseDialogWC::closeShowcaseWC() {
  if (m_window) m_window->close();
}

void ShowcaseDialogWC::startUsingAppButtonPressed() {
  Q_EMIT mainWindowRequested();
  closeShowcaseWC();
}

void ShowcaseDialogWC::reloadContent() {
  if (!m_window) return;
  HTMLDownloader& showcase = m_promo.getShowcaseDownloader();
  m_window->load(showcase.getHtmlURL(), showcase.getWindowSize().toSize());
}

void ShowcaseDialogWC::follow(const QUrl& link) {
  switch (showcaseLinkAction(link)) {
    case PageLinkAction::StartUsingApp:
      return startUsingAppButtonPressed();
    case PageLinkAction::OpenOutside:
      m_workspace.openURL(link);
      return;
    default:
      return;
  }
}

void ShowcaseDialogWC::windowHasClosed() {
  // It is the window that is telling so.
  if (m_window) m_window.release()->deleteLater();
  Q_EMIT closed();
}

}  // namespace halvard
