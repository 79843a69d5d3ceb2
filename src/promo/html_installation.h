#pragma once

#include <QString>
#include <QUrl>
#include <stop_token>

#include "core/result.h"

namespace halvard {

class HttpFetcher;
class ZipUnpacker;

/// Where a page's folders lie.
struct PageFolders {
  /// The program's folder for application support.
  QString place;
  /// The name of every folder of this page starts with it; the version follows.
  QString prefix;

  /// A path that is free: place/prefixVERSION, or that with "_1", "_2", ... behind it.
  QString buildLocalPathForHTMLFolderWithVersion(std::int32_t version) const;

  /// Removes what interrupted installations left: every folder of this page but `current`, and but the plain folder of
  /// `spared` when one is given, so that the paths that are made up never collect. Links are left alone.
  void removeStrayFolders(const QString& current, std::optional<std::int32_t> spared = std::nullopt) const;
};

struct PageInstallation {
  QString folder;
  std::int32_t version = 0;
  QUrl contentUrl;
  /// The file that must be in the archive.
  QString fileNameToLoad;
};

/// Fetches a page's archive and unpacks it into its folder, made for it. After an error the folder is gone again.
/// Whatever the moment at which the process dies, only that folder is left over. Blocks; any thread but the main one.
Result<void> installPage(const PageInstallation& page, HttpFetcher& fetcher, ZipUnpacker& unpacker,
                         const std::stop_token& stop);

}  // namespace halvard
