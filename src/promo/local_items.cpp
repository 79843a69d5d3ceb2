#include "promo/local_items.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include "platform/ports/http_fetcher.h"

namespace halvard {

LocalItems::LocalItems(std::optional<QString> supportFolder, QString resourceFolder)
    : m_supportFolder(std::move(supportFolder)), m_resourceFolder(std::move(resourceFolder)) {}

std::optional<QString> LocalItems::getLocalPathOfItem(const QString& item, bool includeEmbeded) const {
  return getLocalPathOfItem(item, includeEmbeded,
                            m_supportFolder ? *m_supportFolder + QLatin1Char('/') + item : QString());
}

std::optional<QString> LocalItems::getLocalPathOfItem(const QString& item, bool includeEmbeded,
                                                      const QString& path) const {
  const QString resource = m_resourceFolder + QLatin1Char('/') + item;
  if (includeEmbeded && !QFileInfo::exists(path) && QFileInfo::exists(resource)) return resource;
  return path.isEmpty() ? std::nullopt : std::optional(path);
}

bool LocalItems::saveLocalyData(const QByteArray& data, const QString& path) {
  const QFileInfo parent(QFileInfo(path).path());
  if (parent.exists() && !parent.isDir()) QFile::remove(parent.filePath());
  if (!QDir().mkpath(parent.filePath())) return false;
  QSaveFile file(path);
  return file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.commit();
}

LoadedData LocalItems::loadDataFromURL(const QUrl& url, const QString& item, HttpFetcher& fetcher) const {
  if (!url.isEmpty()) {
    if (Result<QByteArray> body = fetcher.fetch(url, {})) return {std::move(body).value(), LoadSource::Address};
  }
  const std::optional<QString> path = getLocalPathOfItem(item, true);
  QFile file(path.value_or(QString()));
  if (!path || !file.open(QIODevice::ReadOnly)) return {};
  return {file.readAll(), LoadSource::LocalItem};
}

}  // namespace halvard
