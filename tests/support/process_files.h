#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <cstdint>

namespace halvard::test {

/// Empty when it cannot be read.
inline QByteArray fileText(const QByteArray& path) {
  QFile file(QFile::decodeName(path));
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The text of /proc/PID/NAME; empty when it cannot be read.
inline QByteArray processFile(qint64 process, const char* name) {
  return fileText("/proc/" + QByteArray::number(process) + '/' + name);
}

/// Bytes behind `label` ("VmRSS:") in such a file, by default its status; 0 when it is not there.
inline std::uint64_t processBytes(qint64 process, const char* label, const char* name = "status") {
  const QByteArray text = processFile(process, name);
  const qsizetype at = text.indexOf(QByteArray("\n") + label);
  if (at < 0) return 0;
  return text.mid(at + 1 + qsizetype(qstrlen(label))).split('k').constFirst().trimmed().toULongLong() * 1024;
}

}  // namespace halvard::test
