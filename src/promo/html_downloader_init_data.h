#pragma once

#include <QUrl>
#include <optional>

#include "preferences/showcase_defaults.h"

namespace halvard {

/// Describes one downloaded page. Texts that are empty count as not set.
struct HTMLDownloaderInitData : DownloadedHTMLData {
  /// No effect.
  bool logTurnOn = false;
  /// -1: the feed carries no index. From 0 on, a feed counts only with a maximum index at least this large.
  std::int32_t currentAppIndex = -1;
  QString xml_max_app_index_tag;
  /// Posted after a new page is installed; may stay empty.
  QString htmlChangedNotificationName;
  /// The folder of the program's resources that holds the embedded page, and the page's file in it; may stay empty.
  QString embedded_folder;
  QString embedded_file_name;
  /// The feed. Set to an empty address, it is never read and the page stays the one at hand.
  std::optional<QUrl> xml_url;
  /// Names of elements in the feed.
  QString xml_root_tag;
  QString xml_version_tag;
  QString xml_content_url_tag;
  QString xml_window_width_tag;
  QString xml_window_height_tag;
  /// The program's folder below the one for application support, and the prefix of the page's folders in it.
  QString subfolder_name_in_application_support;
  QString html_folder_prefix;

  bool isDataPrepareForWork() const;
};

}  // namespace halvard
