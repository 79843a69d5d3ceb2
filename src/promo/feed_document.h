#pragma once

#include <QByteArray>
#include <optional>

#include "promo/html_downloader_init_data.h"

namespace halvard {

/// What a feed announces.
struct FeedAnnouncement {
  std::int32_t version = 0;
  /// Of the zip archive that holds the page.
  QUrl contentUrl;
  /// Window size, logical pixels.
  std::int32_t width = 0;
  std::int32_t height = 0;

  bool operator==(const FeedAnnouncement&) const = default;
};

/// Reads a feed as `data` describes it. Nothing when it is no XML document, the maximum index is missing or too small,
/// or version or address are missing. Numbers are read as far as they go ("3b" is 3, "b" is 0). The archive's address
/// may be relative to the feed's; one that would give up the feed's encryption does not count.
std::optional<FeedAnnouncement> parseFeed(const QByteArray& bytes, const HTMLDownloaderInitData& data);

}  // namespace halvard
