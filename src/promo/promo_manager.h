#pragma once

#include <QObject>
#include <QSize>
#include <QVariantMap>
#include <memory>

#include "promo/application_facts.h"
#include "promo/html_downloader.h"
#include "promo/local_items.h"
#include "promo/promo_settings.h"

namespace halvard {

class UserNotificationCenter;
class Workspace;
struct UserNotification;

/// What the promotion channel works with. All of it outlives the manager.
struct PromoManagerServices {
  ShowcaseDefaults& defaults;
  HttpFetcher& fetcher;
  ZipUnpacker& unpacker;
  Workspace& workspace;
  UserNotificationCenter& userNotifications;
  NotificationCenter& notifications;
  const Branding& branding;
  /// $XDG_DATA_HOME; nothing when there is none.
  std::optional<QString> applicationSupportFolder;
};

/// The hub of the promotion channel: the news and showcase pages, clicks on the program's notifications, and what the
/// program is called. Make it once, after the program knows that no other instance runs. Main thread.
class PromoManager : public QObject {
  Q_OBJECT

 public:
  /// Posted through the notification centre when a page has changed.
  inline static const QString kShowcaseHtmlChanged = QStringLiteral("showcase-html-changed-notification");
  inline static const QString kNewsHtmlChanged = QStringLiteral("news-html-changed-notification");
  /// Where the program's resources lie.
  inline static const QString kResourceFolder = QStringLiteral(":/halvard");

  PromoManager(const PromoManagerServices& services, PromoSettings settings, ApplicationFacts facts);
  ~PromoManager() override;

  HTMLDownloader& getShowcaseDownloader() { return *m_showcaseDownloader; }
  HTMLDownloader& getNewsDowloader() { return *m_newsDownloader; }

  /// True until the version of the news at hand has been marked as read.
  bool isHasFreshNews() const;
  void markNewsAsReaded();

  bool isReviewMode() const { return false; }
  bool isCanShowAds() const { return true; }

  /// The answer to a click on a notification posted by this program.
  void processNotification(const QVariantMap& userInfo);
  /// Whether a notification is shown even while the program is in front.
  bool userNotificationCenterShouldPresentNotification(const UserNotification& notification) const;

  const PromoSettings& settings() const { return m_settings; }
  const ApplicationFacts& facts() const { return m_facts; }
  QString getAppName() const { return m_facts.name; }
  /// The program's folder for application support; nothing when the system gives none.
  std::optional<QString> getApplicationSupportAppFolder() const;
  const LocalItems& localItems() const { return m_localItems; }

  /// Does nothing, and answers false, when there is no store page or no support address.
  bool openPageInAppStore();
  bool createConcernEmail();

 Q_SIGNALS:
  /// The main window is to be shown and made active.
  void mainWindowRequested();
  /// The disk section is to be shown.
  void diskUsageRequested();

 private:
  std::unique_ptr<HTMLDownloader> createAdsDownloader();
  std::unique_ptr<HTMLDownloader> createShowcaseDownloader();
  std::unique_ptr<HTMLDownloader> createNewsDownloader();
  /// What the two pages have in common; the page is "name/name.html" of the resources.
  HTMLDownloaderInitData pageData(const QString& name, QSize embeddedSize) const;
  std::unique_ptr<HTMLDownloader> downloader(HTMLDownloaderInitData data);
  QString withTags(QString text) const;

  const PromoManagerServices m_services;
  const PromoSettings m_settings;
  const ApplicationFacts m_facts;
  const LocalItems m_localItems;
  std::unique_ptr<HTMLDownloader> m_adsDownloader;
  std::unique_ptr<HTMLDownloader> m_showcaseDownloader;
  std::unique_ptr<HTMLDownloader> m_newsDownloader;
};

}  // namespace halvard
