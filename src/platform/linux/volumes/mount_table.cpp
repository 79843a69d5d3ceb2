#include "platform/linux/volumes/mount_table.h"

#include <QFile>
#include <QFileInfo>
#include <QSet>

#include "platform/linux/mounts/mount_table.h"

namespace halvard {
namespace {

bool isBelow(const QString& path, const QString& folder) {
  return path == folder || path.startsWith(folder + QLatin1Char('/'));
}

bool isVolumeOfTheUser(libmnt_fs* entry, const QString& path) {
  if (path == QLatin1String("/")) return true;
  if (isBelow(path, QStringLiteral("/boot")) || isBelow(path, QStringLiteral("/efi"))) return false;
  return isLocalFileSystem(entry);
}

/// Two mounts with the same answer are one file system.
QString deviceOf(libmnt_fs* entry) {
  const char* source = mnt_fs_get_source(entry);
  if (source && source[0] == '/') return QFile::decodeName(source);
  return QString::number(mnt_fs_get_devno(entry));
}

bool isWritable(libmnt_fs* entry) {
  // A read-only mount of a writable file system, or the other way round.
  return !(mnt_fs_match_options(entry, "ro") ||
           mnt_optstr_get_option(mnt_fs_get_fs_options(entry), "ro", nullptr, nullptr) == 0);
}

MountedVolume describe(libmnt_fs* entry, const QString& path) {
  const bool root = path == QLatin1String("/");
  return {.path = path,
          .name = root ? QStringLiteral("Startup disk") : QFileInfo(path).fileName(),
          .fileSystemType = QString::fromUtf8(mnt_fs_get_fstype(entry)),
          .writable = isWritable(entry)};
}

}  // namespace

std::optional<std::vector<MountedVolume>> readMountTable(const QString& path) {
  const MountTable table(QFile::encodeName(path));
  if (!table.isReadable()) return std::nullopt;
  std::vector<MountedVolume> volumes;
  QSet<QString> devices;
  table.forEach([&](libmnt_fs* entry) {
    const QString target = QFile::decodeName(mnt_fs_get_target(entry));
    const QString device = deviceOf(entry);
    if (!isVolumeOfTheUser(entry, target) || devices.contains(device)) return;
    devices.insert(device);
    volumes.push_back(describe(entry, target));
  });
  return volumes;
}

}  // namespace halvard
