#include "support/zip_builder.h"

#include <QFile>
#include <QTemporaryDir>

#include <zip.h>
#include <zlib.h>

namespace halvard {
namespace {

void addEntry(zipFile archive, const ZipEntry& entry) {
  zip_fileinfo info{};
  info.external_fa = static_cast<uLong>(entry.mode) << 16;
  zipOpenNewFileInZip(archive, entry.name.constData(), &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED,
                      Z_BEST_COMPRESSION);
  zipWriteInFileInZip(archive, entry.content.constData(), static_cast<unsigned>(entry.content.size()));
  zipCloseFileInZip(archive);
}

void setFlag(QByteArray& archive, const char* signature, qsizetype flagsAt) {
  const QByteArray mark(signature, 4);
  for (qsizetype at = archive.indexOf(mark); at >= 0; at = archive.indexOf(mark, at + 4)) {
    archive[at + flagsAt] = static_cast<char>(archive.at(at + flagsAt) | 1);
  }
}

}  // namespace

QByteArray zipArchive(const std::vector<ZipEntry>& entries) {
  const QTemporaryDir folder;
  const QString path = folder.filePath(QStringLiteral("a.zip"));
  const zipFile archive = zipOpen(QFile::encodeName(path).constData(), APPEND_STATUS_CREATE);
  for (const ZipEntry& entry : entries)
    addEntry(archive, entry);
  zipClose(archive, nullptr);
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray markedEncrypted(QByteArray archive) {
  setFlag(archive, "PK\x03\x04", 6);
  setFlag(archive, "PK\x01\x02", 8);
  return archive;
}

bool writeFile(const QString& path, const QByteArray& content) {
  QFile file(path);
  return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

}  // namespace halvard
