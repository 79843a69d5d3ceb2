#pragma once

#include "promo/html_downloader_init_data.h"

namespace halvard {

inline const QString kNewsChanged = QStringLiteral("changed");

/// The news as the program describes them, without an embedded page.
inline HTMLDownloaderInitData newsPage(const QUrl& feed) {
  HTMLDownloaderInitData data;
  ShowcaseDefaults::initNewsDownloaderData(data);
  data.htmlChangedNotificationName = kNewsChanged;
  data.embedded_width = 382;
  data.embedded_height = 337;
  data.file_name_to_load = QStringLiteral("news.html");
  data.seconds_between_update = 604800;
  data.xml_url = feed;
  data.xml_root_tag = QStringLiteral("news");
  data.xml_version_tag = QStringLiteral("version");
  data.xml_content_url_tag = QStringLiteral("url");
  data.xml_window_width_tag = QStringLiteral("width");
  data.xml_window_height_tag = QStringLiteral("height");
  data.subfolder_name_in_application_support = QStringLiteral("Halvard");
  data.html_folder_prefix = QStringLiteral("News2_v");
  return data;
}

}  // namespace halvard
