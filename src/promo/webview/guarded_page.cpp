#include "promo/webview/guarded_page.h"

#include <QWebEngineSettings>
#include <QWebEngineUrlRequestInfo>
#include <array>

#include "promo/ui/page_text_view.h"

namespace halvard {
namespace {

/// Stands in for a window that a link asks for: takes the link's address and nothing else.
class LinkCatcher : public QWebEnginePage {
 public:
  LinkCatcher(QWebEngineProfile* profile, GuardedPage& opener) : QWebEnginePage(profile, &opener), m_opener(opener) {}

 protected:
  bool acceptNavigationRequest(const QUrl& url, NavigationType, bool) override {
    Q_EMIT m_opener.linkActivated(url);
    deleteLater();
    return false;
  }

 private:
  GuardedPage& m_opener;
};

}  // namespace

bool FolderGuard::isAllowed(const QUrl& url) const {
  return url.scheme() == QLatin1String("data") || m_folder.contains(url);
}

void FolderGuard::interceptRequest(QWebEngineUrlRequestInfo& info) {
  // A data: address is fine as a picture, not as a page.
  const bool asPage = info.resourceType() == QWebEngineUrlRequestInfo::ResourceTypeSubFrame;
  const bool data = info.requestUrl().scheme() == QLatin1String("data");
  info.block(!isAllowed(info.requestUrl()) || (asPage && data));
}

GuardedPage::GuardedPage(QWebEngineProfile& profile, FolderGuard& guard) : QWebEnginePage(&profile), m_guard(guard) {}

void GuardedPage::restrict(QWebEngineProfile& profile, FolderGuard& guard) {
  profile.setUrlRequestInterceptor(&guard);
  profile.setHttpCacheType(QWebEngineProfile::NoCache);
  profile.setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
  constexpr std::array forbidden{QWebEngineSettings::JavascriptEnabled,
                                 QWebEngineSettings::LocalContentCanAccessRemoteUrls,
                                 QWebEngineSettings::PluginsEnabled,
                                 QWebEngineSettings::LocalStorageEnabled,
                                 QWebEngineSettings::FullScreenSupportEnabled,
                                 QWebEngineSettings::WebGLEnabled,
                                 QWebEngineSettings::Accelerated2dCanvasEnabled,
                                 QWebEngineSettings::AutoLoadIconsForPage,
                                 QWebEngineSettings::ErrorPageEnabled,
                                 QWebEngineSettings::PdfViewerEnabled,
                                 QWebEngineSettings::DnsPrefetchEnabled,
                                 QWebEngineSettings::HyperlinkAuditingEnabled};
  for (const auto attribute : forbidden)
    profile.settings()->setAttribute(attribute, false);
}

void GuardedPage::showPage(const QUrl& page) {
  m_guard.setFolder(PageFolder(page));
  page.isEmpty() ? setHtml(PageTextView::minimalPage()) : setUrl(page);
}

bool GuardedPage::acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) {
  if (m_guard.isAllowed(url)) return url.scheme() != QLatin1String("data") || type == NavigationTypeTyped;
  // Only what the user does may leave the page: no redirect, no form, no frame.
  const bool clicked = isMainFrame && type == NavigationTypeLinkClicked;
  if (clicked && PageFolder::localPath(url).isEmpty()) Q_EMIT linkActivated(url);
  return false;
}

QWebEnginePage* GuardedPage::createWindow(WebWindowType) {
  return new LinkCatcher(profile(), *this);
}

}  // namespace halvard
