#pragma once

#include <zip.h>
#include <zlib.h>

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>
#include <vector>

namespace halvard {

struct ZipEntry {
  QByteArray name;
  QByteArray content;
  /// Type and permissions of the file as Unix writes them; 0 says nothing about them.
  unsigned mode = 0;
};

/// A zip archive with these entries, as they stand; nothing is checked.
inline QByteArray zipArchive(const std::vector<ZipEntry>& entries) {
  const QTemporaryDir folder;
  QFile file(folder.filePath(QStringLiteral("a.zip")));
  const zipFile archive = zipOpen(QFile::encodeName(file.fileName()).constData(), APPEND_STATUS_CREATE);
  for (const auto& [name, content, mode] : entries) {
    zip_fileinfo info{};
    info.external_fa = static_cast<uLong>(mode) << 16;
    zipOpenNewFileInZip(archive, name.constData(), &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED,
                        Z_BEST_COMPRESSION);
    zipWriteInFileInZip(archive, content.constData(), static_cast<unsigned>(content.size()));
    zipCloseFileInZip(archive);
  }
  zipClose(archive, nullptr);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The archive with the encryption flag of every entry set.
inline QByteArray markedEncrypted(QByteArray archive) {
  for (const auto& [signature, flags] : {std::pair(QByteArray("PK\x03\x04"), 6), {QByteArray("PK\x01\x02"), 8}}) {
    for (qsizetype at = archive.indexOf(signature); at >= 0; at = archive.indexOf(signature, at + 4))
      archive[at + flags] = static_cast<char>(archive.at(at + flags) | 1);
  }
  return archive;
}

}  // namespace halvard
