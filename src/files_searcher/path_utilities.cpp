#include "files_searcher/path_utilities.h"

#include <QFile>

namespace halvard::path_utilities {

bool isParentPathForPath(QByteArrayView path, QByteArrayView other) {
  return other.size() > path.size() && other.startsWith(path) && other[path.size()] == '/';
}

std::size_t numberOccurencesSubstring(QByteArrayView text, QByteArrayView substring) {
  if (substring.isEmpty()) return 0;
  std::size_t count = 0;
  for (qsizetype at = text.indexOf(substring); at >= 0; at = text.indexOf(substring, at + substring.size()))
    ++count;
  return count;
}

QByteArrayView pathExtension(QByteArrayView name) {
  const qsizetype dot = name.lastIndexOf('.');
  return dot < 0 ? QByteArrayView("") : name.sliced(dot + 1);
}

std::optional<Clock::Instant> filesLastAccessDate(const QUrl& url, const LastUsedDates& dates) {
  if (!url.isLocalFile()) return {};
  return dates.lastUsedDate(QFile::encodeName(url.toLocalFile()));
}

}  // namespace halvard::path_utilities
