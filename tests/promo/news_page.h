#pragma once

#include <QFile>

#include "platform/fake/fake_http_fetcher.h"
#include "promo/html_downloader.h"
#include "support/texts.h"
#include "support/zip_builder.h"

namespace halvard {

inline const QString kNewsChanged = text("changed");
inline const QUrl kFeed(text("https://a.example/feeds/news2.xml"));

/// The news as the program describes them, without an embedded page.
inline HTMLDownloaderInitData newsPage() {
  HTMLDownloaderInitData data;
  ShowcaseDefaults::initNewsDownloaderData(data);
  data.htmlChangedNotificationName = kNewsChanged;
  data.embedded_width = 382;
  data.embedded_height = 337;
  data.file_name_to_load = text("news.html");
  data.seconds_between_update = 604800;
  data.xml_url = kFeed;
  data.xml_root_tag = text("news");
  data.xml_version_tag = text("version");
  data.xml_content_url_tag = text("url");
  data.xml_window_width_tag = text("width");
  data.xml_window_height_tag = text("height");
  data.subfolder_name_in_application_support = text("Halvard");
  data.html_folder_prefix = text("News2_v");
  return data;
}

inline QByteArray newsFeed(int version, const QByteArray& size = {}) {
  const QByteArray number = QByteArray::number(version);
  return "<feed><news><version>" + number + "</version><url>v" + number + ".zip</url>" + size + "</news></feed>";
}

/// Where the feed says that the version is.
inline QUrl newsArchive(int version) {
  return kFeed.resolved(QUrl(text("v%1.zip").arg(version)));
}

/// The maker publishes a version; its page says "page VERSION".
inline void publish(FakeHttpFetcher& maker, int version, const QByteArray& size = {}) {
  maker.answer(kFeed, newsFeed(version, size));
  const QByteArray content = "page " + QByteArray::number(version);
  maker.answer(newsArchive(version), zipArchive({{"news.html", content}, {"img/a.png", "image"}, {"a.css", "p{}"}}));
}

/// What the user gets to see.
inline QByteArray shownBy(const HTMLDownloader& downloader) {
  QFile file(downloader.getHtmlURL().value_or(QUrl()).toLocalFile());
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
}

}  // namespace halvard
