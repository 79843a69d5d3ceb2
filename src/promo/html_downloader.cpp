#include "promo/html_downloader.h"

#include <QFileInfo>
#include <algorithm>
#include <limits>

#include "core/notification_center.h"
#include "platform/ports/http_fetcher.h"

namespace halvard {
namespace {

constexpr FetchLimits kFeedLimits{};

std::int32_t narrowed(std::int64_t value) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}

bool isReadableFile(const QString& path) {
  const QFileInfo info(path);
  return info.isFile() && info.isReadable();
}

}  // namespace

HTMLDownloader::HTMLDownloader(HTMLDownloaderServices services, HTMLDownloaderInitData data)
    : m_services(std::move(services)), m_queue(QStringLiteral("page ") + data.html_folder_prefix) {
  if (!data.isDataPrepareForWork()) return;
  m_pData = std::move(data);
  prepareData();
}

HTMLDownloader::~HTMLDownloader() {
  m_job.cancel();
}

std::optional<QUrl> HTMLDownloader::getHtmlURL() const {
  if (m_sHtmlFilePath && isReadableFile(*m_sHtmlFilePath)) return QUrl::fromLocalFile(*m_sHtmlFilePath);
  if (!m_pData || m_pData->embedded_file_name.isEmpty()) return std::nullopt;
  const QString embedded = m_pData->embedded_folder + QLatin1Char('/') + m_pData->embedded_file_name;
  if (!isReadableFile(embedded)) return std::nullopt;
  return embedded.startsWith(QLatin1Char(':')) ? QUrl(QStringLiteral("qrc") + embedded) : QUrl::fromLocalFile(embedded);
}

void HTMLDownloader::prepareData() {
  updateCachedInfoWithNotification(Notify::No);
  checkUpdate();
  if (!isBusy()) removeStrayFolders();
}

void HTMLDownloader::updateCachedInfoWithNotification(Notify notify) {
  const ShowcaseDefaults& defaults = m_services.defaults;
  m_nVersion = narrowed(defaults.getDownloadedHTMLVersionUsingData(*m_pData));
  m_sHtmlFilePath = defaults.getDownloadedHTMLFilePathUsingData(*m_pData);
  m_windowWidth = narrowed(defaults.getDownloadedHTMLWindowWidthUsingData(*m_pData));
  m_windowHeight = narrowed(defaults.getDownloadedHTMLWindowHeightUsingData(*m_pData));
  const QString& name = m_pData->htmlChangedNotificationName;
  if (notify == Notify::Yes && !name.isEmpty()) m_services.notifications.post(name);
}

void HTMLDownloader::checkUpdate() {
  // Without a feed the date stays free for the day there is one.
  if (m_pData->xml_url->isEmpty()) return;
  if (!m_services.defaults.isNeedUpdateDownloadedHTMLUsingData(*m_pData) && getHtmlURL()) return;
  // Before the attempt: a feed that fails is not asked again before its time.
  m_services.defaults.notifyThatHTMLWasDownloadedUsingData(*m_pData);
  updateHTML();
}

void HTMLDownloader::updateHTML() {
  const auto fetch = [&fetcher = m_services.fetcher, url = *m_pData->xml_url](const std::stop_token& stop) {
    return fetcher.fetch(url, kFeedLimits, stop);
  };
  m_job.replace(m_queue.run(this, fetch, [this](const Result<QByteArray>& bytes) {
    if (bytes) parseLoadedData(bytes.value());
    if (!isBusy()) removeStrayFolders();
  }));
}

void HTMLDownloader::parseLoadedData(const QByteArray& bytes) {
  if (const auto announced = parseFeed(bytes, *m_pData)) updateIfNeededDownloadedHTMLByNewVersion(*announced);
}

void HTMLDownloader::updateIfNeededDownloadedHTMLByNewVersion(const FeedAnnouncement& announced) {
  const bool newer = m_services.defaults.isNeedLoadFromServerNewHTMLWithVersion(announced.version, *m_pData);
  if (newer || !getHtmlURL()) downloadAndSaveNewHTMLWithVersion(announced);
}

void HTMLDownloader::downloadAndSaveNewHTMLWithVersion(const FeedAnnouncement& announced) {
  const std::optional<PageFolders> place = folders();
  if (!place) return;
  const auto install = [&services = m_services, place = *place, announced, current = currentFolder(),
                        file = m_pData->file_name_to_load](const std::stop_token& stop) {
    place.removeStrayFolders(current, announced.version);
    const PageInstallation page{.folder = place.buildLocalPathForHTMLFolderWithVersion(announced.version),
                                .version = announced.version,
                                .contentUrl = announced.contentUrl,
                                .fileNameToLoad = file};
    return installPage(page, services.fetcher, services.unpacker, stop) ? page.folder : QString();
  };
  m_job.replace(m_queue.run(this, install, [this, announced](const QString& folder) {
    if (!folder.isEmpty()) pageWasInstalled(folder, announced);
    removeStrayFolders();
  }));
}

void HTMLDownloader::pageWasInstalled(const QString& folder, const FeedAnnouncement& announced) {
  // The folder it replaces goes with the strays: what the settings call a folder is never deleted on their word alone.
  m_services.defaults.saveNewHTMLFolder(folder, announced.version, announced.width, announced.height, *m_pData);
  updateCachedInfoWithNotification(Notify::Yes);
}

void HTMLDownloader::removeStrayFolders() {
  const std::optional<PageFolders> place = folders();
  if (!place) return;
  const auto remove = [place = *place, current = currentFolder()](const std::stop_token&) {
    place.removeStrayFolders(current);
  };
  m_job.replace(m_queue.run(this, remove, [] {}));
}

std::optional<PageFolders> HTMLDownloader::folders() const {
  if (!m_services.applicationSupportFolder) return std::nullopt;
  return PageFolders{
      .place = *m_services.applicationSupportFolder + QLatin1Char('/') + m_pData->subfolder_name_in_application_support,
      .prefix = m_pData->html_folder_prefix};
}

QString HTMLDownloader::currentFolder() const {
  return m_services.defaults.getDownloadedHTMLFolderPathUsingData(*m_pData).value_or(QString());
}

}  // namespace halvard
