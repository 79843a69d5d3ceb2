#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <filesystem>
#include <fstream>
#include <string>

#include "core/units.h"

namespace halvard {

/// A folder for a test, on the disk or in memory, filled through names of any bytes.
class DiskTree {
 public:
  explicit DiskTree(const QByteArray& parent = "/tmp") : m_path(parent + "/halvard-tree-XXXXXX") {
    if (!::mkdtemp(m_path.data())) m_path.clear();
  }
  ~DiskTree() { QProcess::execute(QStringLiteral("rm"), {QStringLiteral("-rf"), QString::fromLocal8Bit(m_path)}); }
  DiskTree(const DiskTree&) = delete;
  DiskTree& operator=(const DiskTree&) = delete;

  const QByteArray& path() const { return m_path; }
  QByteArray at(const QByteArray& name) const { return m_path + '/' + name; }

  QByteArray addFolder(const QByteArray& name) {
    ::mkdir(at(name).constData(), 0755);
    return at(name);
  }
  /// Sparse when `blocks` is false: `size` bytes that occupy nothing.
  QByteArray addFile(const QByteArray& name, ByteCount size, bool blocks = true) {
    std::ofstream file(at(name).constData());
    if (blocks) file << std::string(size, 'x');
    file.close();
    if (!blocks) std::filesystem::resize_file(at(name).constData(), size);
    return at(name);
  }

 private:
  QByteArray m_path;
};

/// What du counts without the folders' own blocks, as a public tool sees it.
inline ByteCount sizeByDu(const QByteArray& path) {
  // -s -l sums every name of a file; the folders' own blocks are summed by find and taken off.
  const char* const script =
      "all=$(du -s -l --block-size=1 -- \"$1\" 2>/dev/null | tail -n 1 | cut -f 1);"
      "own=$(find \"$1\" -type d -printf '%b\\n' 2>/dev/null | awk '{s += $1} END {print s * 512}');"
      "echo $((all - own))";
  QProcess shell;
  shell.start(QStringLiteral("sh"),
              {QStringLiteral("-c"), QString::fromLatin1(script), QString(), QFile::decodeName(path)});
  shell.waitForFinished(-1);
  return shell.readAllStandardOutput().trimmed().toULongLong();
}

}  // namespace halvard
