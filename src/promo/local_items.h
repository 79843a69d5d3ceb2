#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <optional>

namespace halvard {

class HttpFetcher;

/// Where data that had to be loaded came from.
enum class LoadSource { Nothing = 0, LocalItem = 1, Address = 2 };

struct LoadedData {
  std::optional<QByteArray> data;
  LoadSource source = LoadSource::Nothing;
};

/// Files of the program's folder for application support, each with a twin among the program's resources.
class LocalItems {
 public:
  /// `supportFolder` is the program's own folder, nothing when the system gives none; `resourceFolder` holds the
  /// resources.
  LocalItems(std::optional<QString> supportFolder, QString resourceFolder);

  /// Where the item lies, existing or not; when it does not exist and `includeEmbeded`, its resource if there is one.
  std::optional<QString> getLocalPathOfItem(const QString& item, bool includeEmbeded) const;
  /// The same with `path` in place of the support folder's.
  std::optional<QString> getLocalPathOfItem(const QString& item, bool includeEmbeded, const QString& path) const;

  /// Makes the parent folder (a file in its place goes) and replaces the file at `path` at once or not at all.
  static bool saveLocalyData(const QByteArray& data, const QString& path);

  /// The address first, then the item or its resource. Blocks; any thread but the main one.
  LoadedData loadDataFromURL(const QUrl& url, const QString& item, HttpFetcher& fetcher) const;

 private:
  const std::optional<QString> m_supportFolder;
  const QString m_resourceFolder;
};

}  // namespace halvard
