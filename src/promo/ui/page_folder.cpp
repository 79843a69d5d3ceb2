#include "promo/ui/page_folder.h"

#include <QFileInfo>

namespace halvard {

PageFolder::PageFolder(const QUrl& page) {
  const QString path = localPath(page);
  if (!path.isEmpty()) m_folder = QFileInfo(QFileInfo(path).path()).canonicalFilePath();
}

bool PageFolder::contains(const QUrl& url) const {
  const QString path = localPath(url);
  if (m_folder.isEmpty() || path.isEmpty()) return false;
  const QFileInfo file(QFileInfo(path).canonicalFilePath());
  return file.isFile() && file.filePath().startsWith(m_folder + QLatin1Char('/'));
}

QString PageFolder::localPath(const QUrl& url) {
  if (url.scheme() == QLatin1String("qrc")) return QLatin1Char(':') + url.path();
  const bool local = url.isLocalFile() && url.host().isEmpty();
  return local ? url.toLocalFile() : QString();
}

}  // namespace halvard
