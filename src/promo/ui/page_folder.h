#pragma once

#include <QUrl>

namespace halvard {

/// The folder of the page that is shown: the only place on this machine, or anywhere, that the page may read.
/// Immutable; any thread.
class PageFolder {
 public:
  PageFolder() = default;
  /// `page` is a file: or qrc: address; with any other, nothing is in the folder.
  explicit PageFolder(const QUrl& page);

  /// True for an existing file in the folder or below, links resolved.
  bool contains(const QUrl& url) const;

  /// The path behind a file: or qrc: address; empty for any other.
  static QString localPath(const QUrl& url);

 private:
  QString m_folder;
};

}  // namespace halvard
