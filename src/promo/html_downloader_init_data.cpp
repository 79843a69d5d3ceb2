#include "promo/html_downloader_init_data.h"

#include <algorithm>

namespace halvard {

bool HTMLDownloaderInitData::isDataPrepareForWork() const {
  if (currentAppIndex >= 0 && xml_max_app_index_tag.isEmpty()) return false;
  if (!embedded_file_name.isEmpty() && (embedded_width < 1 || embedded_height < 1)) return false;
  const std::initializer_list<const QString*> needed{&prefs_next_update_date_key,
                                                     &prefs_version_key,
                                                     &prefs_html_folder_path_key,
                                                     &prefs_html_file_path_key,
                                                     &prefs_window_width_key,
                                                     &prefs_window_height_key,
                                                     &xml_root_tag,
                                                     &xml_version_tag,
                                                     &xml_content_url_tag,
                                                     &xml_window_width_tag,
                                                     &xml_window_height_tag,
                                                     &file_name_to_load,
                                                     &html_folder_prefix,
                                                     &subfolder_name_in_application_support};
  const auto isSet = [](const QString* text) { return !text->isEmpty(); };
  return std::all_of(needed.begin(), needed.end(), isSet) && xml_url && seconds_between_update > 0;
}

}  // namespace halvard
