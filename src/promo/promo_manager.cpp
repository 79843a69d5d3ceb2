#include "promo/promo_manager.h"

#include <QUrlQuery>

#include "platform/ports/user_notification_center.h"
#include "platform/ports/workspace.h"
#include "promo/promo_xml.h"

namespace halvard {
namespace {

std::optional<QString> below(const std::optional<QString>& folder, const QString& name) {
  if (!folder) return std::nullopt;
  return *folder + QLatin1Char('/') + name;
}

}  // namespace

PromoManager::PromoManager(const PromoManagerServices& services, PromoSettings settings, ApplicationFacts facts)
    : m_services(services),
      m_settings(std::move(settings)),
      m_facts(std::move(facts)),
      m_localItems(below(services.applicationSupportFolder, m_facts.name), kResourceFolder) {
  connect(&m_services.userNotifications, &UserNotificationCenter::activated, this, &PromoManager::processNotification);
  m_adsDownloader = createAdsDownloader();
  m_services.defaults.notifyRateDialogDataThatAppStarted();
  m_showcaseDownloader = createShowcaseDownloader();
  m_newsDownloader = createNewsDownloader();
}

PromoManager::~PromoManager() = default;

bool PromoManager::isHasFreshNews() const {
  return m_services.defaults.isHasFreshNewsBaseOnCurrenVersion(m_newsDownloader->getVersion());
}

void PromoManager::markNewsAsReaded() {
  m_services.defaults.setReadedNewsVersion(m_newsDownloader->getVersion());
}

void PromoManager::processNotification(const QVariantMap& userInfo) {
  if (userInfo.isEmpty()) {
    Q_EMIT mainWindowRequested();
  } else if (userInfo.contains(promo_notifications::kNeedOpenLink)) {
    m_services.workspace.openURL(QUrl(userInfo.value(promo_notifications::kNeedOpenLink).toString()));
  } else if (userInfo.contains(promo_notifications::kNeedOpenBundle)) {
    m_services.workspace.launchApplication(userInfo.value(promo_notifications::kNeedOpenBundle).toString());
  } else if (userInfo.value(promo_notifications::kNeedOpenDiskUsage).toBool()) {
    Q_EMIT diskUsageRequested();
  }
}

bool PromoManager::userNotificationCenterShouldPresentNotification(const UserNotification& notification) const {
  return !notification.userInfo.isEmpty();
}

std::optional<QString> PromoManager::getApplicationSupportAppFolder() const {
  return below(m_services.applicationSupportFolder, m_facts.name);
}

bool PromoManager::openPageInAppStore() {
  const QUrl page = m_settings.getRateTheAppLink();
  return !page.isEmpty() && m_services.workspace.openURL(page);
}

bool PromoManager::createConcernEmail() {
  const QString& address = m_services.branding.supportAddress;
  if (address.isEmpty()) return false;
  const QString subject = withTags(tr("#appname# Concern Report"));
  const QString body = withTags(tr("\n\nSent from:\n#appname# v#appversion#\nOS X #osversion#\n"));
  // Line breaks of mail are two characters; everything but letters and digits is escaped.
  const auto encoded = [](QString text) {
    return QUrl::toPercentEncoding(text.replace(QLatin1Char('\n'), QLatin1String("\r\n")));
  };
  return m_services.workspace.openURL(QUrl::fromEncoded("mailto:" + QUrl::toPercentEncoding(address, "@+") +
                                                        "?Subject=" + encoded(subject) + "&body=" + encoded(body)));
}

QString PromoManager::withTags(QString text) const {
  return text.replace(QLatin1String("#appname#"), m_facts.name)
      .replace(QLatin1String("#appversion#"), m_facts.version)
      .replace(QLatin1String("#osversion#"), m_facts.systemVersion);
}

std::unique_ptr<HTMLDownloader> PromoManager::createAdsDownloader() {
  return nullptr;
}

std::unique_ptr<HTMLDownloader> PromoManager::createShowcaseDownloader() {
  HTMLDownloaderInitData data = pageData(QStringLiteral("showcase"), {713, 356});
  ShowcaseDefaults::initShowcaseDownloaderData(data);
  data.htmlChangedNotificationName = kShowcaseHtmlChanged;
  data.xml_url = m_settings.getShowcaseXMLWebURL();
  data.xml_root_tag = QStringLiteral("show_case");
  data.html_folder_prefix = QStringLiteral("Showcase_v");
  return downloader(std::move(data));
}

std::unique_ptr<HTMLDownloader> PromoManager::createNewsDownloader() {
  HTMLDownloaderInitData data = pageData(QStringLiteral("news"), {382, 337});
  ShowcaseDefaults::initNewsDownloaderData(data);
  data.htmlChangedNotificationName = kNewsHtmlChanged;
  data.xml_url = m_settings.getNewsXMLWebURL();
  data.xml_root_tag = QStringLiteral("news");
  data.html_folder_prefix = QStringLiteral("News2_v");
  return downloader(std::move(data));
}

HTMLDownloaderInitData PromoManager::pageData(const QString& name, QSize embeddedSize) const {
  HTMLDownloaderInitData data;
  data.embedded_version = 0;
  data.embedded_width = embeddedSize.width();
  data.embedded_height = embeddedSize.height();
  data.embedded_folder = kResourceFolder + QStringLiteral("/pages/") + name;
  data.embedded_file_name = data.file_name_to_load = name + QStringLiteral(".html");
  data.seconds_between_update = 604800;
  data.xml_version_tag = QStringLiteral("version");
  data.xml_content_url_tag = QStringLiteral("url");
  data.xml_window_width_tag = QStringLiteral("width");
  data.xml_window_height_tag = QStringLiteral("height");
  data.subfolder_name_in_application_support = m_facts.name;
  return data;
}

std::unique_ptr<HTMLDownloader> PromoManager::downloader(HTMLDownloaderInitData data) {
  return std::make_unique<HTMLDownloader>(
      HTMLDownloaderServices{.defaults = m_services.defaults,
                             .fetcher = m_services.fetcher,
                             .unpacker = m_services.unpacker,
                             .notifications = m_services.notifications,
                             .applicationSupportFolder = m_services.applicationSupportFolder},
      std::move(data));
}

}  // namespace halvard
