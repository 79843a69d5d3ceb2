#pragma once

#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineUrlRequestInterceptor>

#include "promo/ui/page_folder.h"

namespace halvard {

/// Lets requests through for files of the page's folder, and no others.
class FolderGuard : public QWebEngineUrlRequestInterceptor {
  Q_OBJECT

 public:
  using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;
  void setFolder(const PageFolder& folder) { m_folder = folder; }
  bool isAllowed(const QUrl& url) const;
  void interceptRequest(QWebEngineUrlRequestInfo& info) override;

 private:
  PageFolder m_folder;
};

/// A page without scripts, plug-ins, storage or network, that stays within its folder.
class GuardedPage : public QWebEnginePage {
  Q_OBJECT

 public:
  /// Both outlive the page.
  GuardedPage(QWebEngineProfile& profile, FolderGuard& guard);

  /// Turns off whatever a page could reach out with.
  static void restrict(QWebEngineProfile& profile, FolderGuard& guard);

  void showPage(const QUrl& page);

 Q_SIGNALS:
  /// The user clicked a link out of the folder.
  void linkActivated(const QUrl& url);

 protected:
  bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
  QWebEnginePage* createWindow(WebWindowType type) override;

 private:
  FolderGuard& m_guard;
};

}  // namespace halvard
