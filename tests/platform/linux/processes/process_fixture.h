#pragma once

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace halvard::test {

/// A folder that looks like /proc to a reader of processes.
class ProcessFixture {
 public:
  QByteArray root() const { return QFile::encodeName(m_folder.path()); }

  /// Writes into the file in place, so that a kept descriptor sees it.
  void write(int pid, const char* name, const QByteArray& text) {
    QDir(m_folder.path()).mkdir(QString::number(pid));
    QFile file(path(pid, name));
    if (!file.open(QIODevice::WriteOnly)) qFatal("no fixture");
    file.write(text);
  }
  void link(int pid, const char* name, const QString& target) {
    QDir(m_folder.path()).mkdir(QString::number(pid));
    QFile::remove(path(pid, name));
    if (!QFile::link(target, path(pid, name))) qFatal("no fixture");
  }
  /// Replaces the files, as for another process with the same pid.
  void addProcess(int pid, int parent, const QByteArray& command, quint64 start, int pages = 0, char state = 'S',
                  quint64 flags = 0x400000, int threads = 1, quint64 stack = 9000) {
    const QString line = QString::asprintf(
        "%d (%s) %c %d 1 1 0 -1 %llu 11 0 0 0 70 30 0 0 20 0 %d 0 %llu 4096 %d 18446744073709551615 5000 0 %llu 0 0\n",
        pid, command.constData(), state, parent, flags, threads, start, pages, stack);
    write(pid, "stat", line.toLatin1());
    write(pid, "statm", "900 " + QByteArray::number(pages) + " 1 1 0 1 0\n");
  }
  void remove(int pid) { QDir(m_folder.filePath(QString::number(pid))).removeRecursively(); }
  void remove(int pid, const char* name) { QFile::remove(path(pid, name)); }

 private:
  QString path(int pid, const char* name) const {
    return m_folder.filePath(QString::number(pid) + QLatin1Char('/') + QString::fromLatin1(name));
  }
  QTemporaryDir m_folder;
};

}  // namespace halvard::test
