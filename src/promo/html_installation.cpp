#include "promo/html_installation.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>

#include "platform/ports/http_fetcher.h"
#include "platform/ports/zip_unpacker.h"

namespace halvard {
namespace {

constexpr FetchLimits kArchiveLimits{
    .maximumSize = 32ull * 1024 * 1024, .totalTime = std::chrono::minutes(10), .silence = std::chrono::seconds(30)};
constexpr UnpackLimits kUnpackLimits{};

void removeWhatever(const QString& path) {
  const QFileInfo info(path);
  info.isDir() && !info.isSymLink() ? QDir(path).removeRecursively() : QFile::remove(path);
}

Result<void> writeAtomically(const QString& path, const QByteArray& data) {
  QSaveFile file(path);
  const bool written = file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.commit();
  return written ? Result<void>() : Error{file.errorString()};
}

Result<void> fetchAndUnpack(const PageInstallation& page, HttpFetcher& fetcher, ZipUnpacker& unpacker,
                            const std::stop_token& stop) {
  const Result<QByteArray> archive = fetcher.fetch(page.contentUrl, kArchiveLimits, stop);
  if (!archive) return archive.error();
  const QString file = page.folder + QStringLiteral("/tmp_download_v%1").arg(page.version);
  Result<void> done = writeAtomically(file, archive.value());
  if (done) done = unpacker.unzipFileAtPath(file, page.folder, kUnpackLimits, stop);
  QFile::remove(file);
  if (!done) return done;
  const bool complete = QFileInfo(page.folder + QLatin1Char('/') + page.fileNameToLoad).isFile();
  return complete ? Result<void>() : Error{QStringLiteral("the archive holds no %1").arg(page.fileNameToLoad)};
}

}  // namespace

QString PageFolders::buildLocalPathForHTMLFolderWithVersion(std::int32_t version) const {
  const QString plain = QStringLiteral("%1/%2%3").arg(place, prefix).arg(version);
  QString path = plain;
  for (int number = 1; QFileInfo::exists(path) || QFileInfo(path).isSymLink(); ++number) {
    path = QStringLiteral("%1_%2").arg(plain).arg(number);
  }
  return path;
}

void PageFolders::removeStrayFolders(const QString& current, std::optional<std::int32_t> spared) const {
  const QRegularExpression ours(
      QRegularExpression::anchoredPattern(QRegularExpression::escape(prefix) + QStringLiteral("-?[0-9]+(_[0-9]+)?")));
  const QString sparedName = spared ? prefix + QString::number(*spared) : QString();
  const QDir folder(place);
  for (const QString& name : folder.entryList(QDir::Dirs | QDir::NoSymLinks | QDir::NoDotAndDotDot)) {
    if (!ours.match(name).hasMatch() || name == sparedName) continue;
    if (folder.filePath(name) != current) QDir(folder.filePath(name)).removeRecursively();
  }
}

Result<void> installPage(const PageInstallation& page, HttpFetcher& fetcher, ZipUnpacker& unpacker,
                         const std::stop_token& stop) {
  removeWhatever(page.folder);
  if (!QDir().mkpath(page.folder)) return Error{QStringLiteral("cannot make %1").arg(page.folder)};
  const Result<void> done = fetchAndUnpack(page, fetcher, unpacker, stop);
  if (!done) removeWhatever(page.folder);
  return done;
}

}  // namespace halvard
