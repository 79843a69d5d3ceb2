#pragma once

#include <QAnyStringView>
#include <QDir>
#include <QTemporaryDir>

namespace halvard {

/// A temporary folder whose files are named by their paths below it.
class TestFolder {
 public:
  QString path() const { return QFileInfo(m_folder.path()).canonicalFilePath(); }
  QString path(QAnyStringView name) const { return path() + u'/' + name.toString(); }

  /// Puts `content` into a file that the user may read, write and run, and makes the folders above it. Returns its
  /// path.
  QString write(QAnyStringView name, const QByteArray& content) const {
    QDir().mkpath(QFileInfo(path(name)).path());
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) qFatal("a test cannot write");
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return file.fileName();
  }
  /// Empty without such a file.
  QByteArray read(QAnyStringView name) const {
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }

 private:
  QTemporaryDir m_folder;
};

}  // namespace halvard
