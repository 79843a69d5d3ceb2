#include <algorithm>

#include "preferences/showcase_defaults.h"
#include "preferences/stored_keys.h"

// The accessors of downloaded pages.

namespace halvard {

void ShowcaseDefaults::initShowcaseDownloaderData(DownloadedHTMLData& data) {
  data.prefs_next_update_date_key = stored_keys::showcasePageNextUpdateDate;
  data.prefs_version_key = stored_keys::showcasePageVersion;
  data.prefs_html_folder_path_key = stored_keys::showcasePageFolderPath;
  data.prefs_html_file_path_key = stored_keys::showcasePageFilePath;
  data.prefs_window_width_key = stored_keys::showcasePageWindowWidth;
  data.prefs_window_height_key = stored_keys::showcasePageWindowHeight;
}

void ShowcaseDefaults::initNewsDownloaderData(DownloadedHTMLData& data) {
  data.prefs_next_update_date_key = stored_keys::newsPageNextUpdateDate;
  data.prefs_version_key = stored_keys::newsPageVersion;
  data.prefs_html_folder_path_key = stored_keys::newsPageFolderPath;
  data.prefs_html_file_path_key = stored_keys::newsPageFilePath;
  data.prefs_window_width_key = stored_keys::newsPageWindowWidth;
  data.prefs_window_height_key = stored_keys::newsPageWindowHeight;
}

void ShowcaseDefaults::initAdsDownloaderData(DownloadedHTMLData& data) {
  data.prefs_next_update_date_key = stored_keys::adsPageNextUpdateDate;
  data.prefs_version_key = stored_keys::adsPageVersion;
  data.prefs_html_folder_path_key = stored_keys::adsPageFolderPath;
  data.prefs_html_file_path_key = stored_keys::adsPageFilePath;
  data.prefs_window_width_key = stored_keys::adsPageWindowWidth;
  data.prefs_window_height_key = stored_keys::adsPageWindowHeight;
}

Clock::Instant ShowcaseDefaults::getDownloadedHTMLNextUpdateDateUsingData(const DownloadedHTMLData& data) const {
  return dateForKey(data.prefs_next_update_date_key).value_or(Clock::Instant());
}

bool ShowcaseDefaults::isNeedUpdateDownloadedHTMLUsingData(const DownloadedHTMLData& data) const {
  return getDownloadedHTMLNextUpdateDateUsingData(data) <= m_clock.now();
}

void ShowcaseDefaults::notifyThatHTMLWasDownloadedUsingData(const DownloadedHTMLData& data) {
  save(data.prefs_next_update_date_key, dateFromNow(std::chrono::seconds(data.seconds_between_update)));
}

std::int64_t ShowcaseDefaults::getCurrentDownloadedHTMLVersionUsingData(const DownloadedHTMLData& data) const {
  return integerForKey(data.prefs_version_key).value_or(data.embedded_version);
}

bool ShowcaseDefaults::isNeedLoadFromServerNewHTMLWithVersion(std::int64_t version,
                                                              const DownloadedHTMLData& data) const {
  return getCurrentDownloadedHTMLVersionUsingData(data) < version;
}

std::int64_t ShowcaseDefaults::getDownloadedHTMLVersionUsingData(const DownloadedHTMLData& data) const {
  return std::max<std::int64_t>(getCurrentDownloadedHTMLVersionUsingData(data), data.embedded_version);
}

bool ShowcaseDefaults::isNeedShowEmbeddedHTMLUsingData(const DownloadedHTMLData& data) const {
  return getDownloadedHTMLVersionUsingData(data) == data.embedded_version;
}

std::optional<QString> ShowcaseDefaults::getDownloadedHTMLFolderPathUsingData(const DownloadedHTMLData& data) const {
  if (isNeedShowEmbeddedHTMLUsingData(data)) return std::nullopt;
  return textForKey(data.prefs_html_folder_path_key);
}

std::optional<QString> ShowcaseDefaults::getDownloadedHTMLFilePathUsingData(const DownloadedHTMLData& data) const {
  if (isNeedShowEmbeddedHTMLUsingData(data)) return std::nullopt;
  return textForKey(data.prefs_html_file_path_key);
}

std::int64_t ShowcaseDefaults::getDownloadedHTMLWindowWidthUsingData(const DownloadedHTMLData& data) const {
  if (isNeedShowEmbeddedHTMLUsingData(data)) return data.embedded_width;
  return integerForKey(data.prefs_window_width_key).value_or(data.embedded_width);
}

std::int64_t ShowcaseDefaults::getDownloadedHTMLWindowHeightUsingData(const DownloadedHTMLData& data) const {
  if (isNeedShowEmbeddedHTMLUsingData(data)) return data.embedded_height;
  return integerForKey(data.prefs_window_height_key).value_or(data.embedded_height);
}

std::optional<QString> ShowcaseDefaults::saveNewHTMLFolder(const QString& folder, std::int64_t version,
                                                           double windowWidth, double windowHeight,
                                                           const DownloadedHTMLData& data) {
  const std::optional<QString> replaced = textForKey(data.prefs_html_folder_path_key);
  m_store.setObject(data.prefs_html_folder_path_key, {folder});
  m_store.setObject(data.prefs_html_file_path_key, {folder + QLatin1Char('/') + data.file_name_to_load});
  m_store.setObject(data.prefs_version_key, {version});
  m_store.setObject(data.prefs_window_width_key, {windowWidth});
  save(data.prefs_window_height_key, {windowHeight});
  return replaced == folder ? std::nullopt : replaced;
}

}  // namespace halvard
