#pragma once

#include <QObject>
#include <QSizeF>
#include <QUrl>
#include <optional>

#include "core/jobs.h"
#include "promo/feed_document.h"
#include "promo/html_installation.h"

namespace halvard {

class HttpFetcher;
class NotificationCenter;
class ZipUnpacker;

/// What downloaders work with. All of it outlives them.
struct HTMLDownloaderServices {
  ShowcaseDefaults& defaults;
  HttpFetcher& fetcher;
  ZipUnpacker& unpacker;
  NotificationCenter& notifications;
  /// The user's folder for application support; nothing: pages are never downloaded.
  std::optional<QString> applicationSupportFolder;
};

/// Keeps one page up to date: the one that ships with the program until the page's feed announces a newer one. Reads
/// the feed once, when it is made, and only when that is due or there is no page. Every failure is silent and leaves
/// page and settings as they are. Main thread; fetching and unpacking happen on a thread of its own.
class HTMLDownloader : public QObject {
  Q_OBJECT

 public:
  /// With data that are not ready for work it shows no page and does nothing.
  HTMLDownloader(HTMLDownloaderServices services, HTMLDownloaderInitData data);
  /// Cancels what runs and waits for it.
  ~HTMLDownloader() override;

  /// The page to show: the downloaded one if it can be read, else the embedded one (a qrc: address), else nothing.
  std::optional<QUrl> getHtmlURL() const;
  /// Version of the page in use; 0 without a page.
  std::int32_t getVersion() const { return m_nVersion; }
  /// Size of the window that shows it, logical pixels.
  QSizeF getWindowSize() const { return {static_cast<double>(m_windowWidth), static_cast<double>(m_windowHeight)}; }

  /// True while a feed is read or a page installed.
  bool isBusy() const { return m_job.isPending(); }

 private:
  enum class Notify { No, Yes };

  void prepareData();
  void updateCachedInfoWithNotification(Notify notify);
  void checkUpdate();
  void updateHTML();
  void parseLoadedData(const QByteArray& bytes);
  void updateIfNeededDownloadedHTMLByNewVersion(const FeedAnnouncement& announced);
  void downloadAndSaveNewHTMLWithVersion(const FeedAnnouncement& announced);
  void pageWasInstalled(const QString& folder, const FeedAnnouncement& announced);
  void removeStrayFolders();
  std::optional<PageFolders> folders() const;
  QString currentFolder() const;

  const HTMLDownloaderServices m_services;
  std::optional<HTMLDownloaderInitData> m_pData;
  std::int32_t m_nVersion = 0;
  std::optional<QString> m_sHtmlFilePath;
  std::int32_t m_windowWidth = 0;
  std::int32_t m_windowHeight = 0;
  JobQueue m_queue;
  LatestJob m_job;
};

}  // namespace halvard
