#include "promo/ui/news_dialog_wc.h"

#include "core/notification_center.h"
#include "platform/ports/workspace.h"
#include "promo/page_links.h"
#include "promo/promo_manager.h"

namespace halvard {
namespace {

using namespace std::chrono_literals;

constexpr QPoint kCornerFromPoint(-15, 15);

}  // namespace

NewsDialogWC::NewsDialogWC(PromoManager& promo, Workspace& workspace, NotificationCenter& notifications, Clock& clock,
                           PageWindow::Make makeWindow)
    : m_promo(promo), m_workspace(workspace), m_makeWindow(std::move(makeWindow)), m_changeVisibility(clock) {
  notifications.addObserver(NewsHtmlChangedNotificationName(), this, [this](const QVariant&) { loadPage(); });
}

QString NewsDialogWC::NewsHtmlChangedNotificationName() {
  return PromoManager::kNewsHtmlChanged;
}

void NewsDialogWC::showAtPosition(const QPoint& point) {
  if (m_visible) return;
  m_visible = true;
  m_window = m_makeWindow(PageWindow::Look::Popup);
  connect(m_window.get(), &PageWindow::linkActivated, this, &NewsDialogWC::follow);
  connect(m_window.get(), &PageWindow::resignedKey, this, &NewsDialogWC::hideItself);
  connect(m_window.get(), &PageWindow::closed, this, &NewsDialogWC::windowWillClose);
  loadPage();
  m_window->show(point + kCornerFromPoint);
  m_promo.markNewsAsReaded();
}

void NewsDialogWC::hideItself() {
  if (m_window) m_window->close();
}

void NewsDialogWC::loadPage() {
  if (!m_window) return;
  HTMLDownloader& news = m_promo.getNewsDowloader();
  m_window->load(news.getHtmlURL(), news.getWindowSize().toSize());
}

void NewsDialogWC::follow(const QUrl& link) {
  switch (newsLinkAction(link)) {
    case PageLinkAction::Close:
      return hideItself();
    case PageLinkAction::OpenOutside:
      m_workspace.openURL(link);
      return;
    default:
      return;
  }
}

void NewsDialogWC::windowWillClose() {
  // It is the window that is telling so.
  if (m_window) m_window.release()->deleteLater();
  m_changeVisibility.start(100ms, [this] { changeVisibility(); });
}

}  // namespace halvard
