#pragma once

#include <QByteArray>
#include <QString>
#include <vector>

namespace halvard {

struct ZipEntry {
  QByteArray name;
  QByteArray content;
  /// Type and permissions of the file as Unix writes them; 0 says nothing about them.
  unsigned mode = 0;
};

/// A zip archive with these entries, as they stand; nothing is checked.
QByteArray zipArchive(const std::vector<ZipEntry>& entries);

/// The archive with the encryption flag of every entry set.
QByteArray markedEncrypted(QByteArray archive);

/// Writes `content` to a new file at `path`; false when that fails.
bool writeFile(const QString& path, const QByteArray& content);

}  // namespace halvard
