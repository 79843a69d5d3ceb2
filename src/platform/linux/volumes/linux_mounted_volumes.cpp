#include "platform/linux/volumes/linux_mounted_volumes.h"

#include <QFile>

#include <sys/statvfs.h>

#include "platform/linux/volumes/mount_table.h"

namespace halvard {

LinuxMountedVolumes::LinuxMountedVolumes(QString mountTable) : m_mountTable(std::move(mountTable)) {}

std::optional<std::vector<MountedVolume>> LinuxMountedVolumes::mountedLocalVolumes() {
  return readMountTable(m_mountTable);
}

std::optional<VolumeSpace> LinuxMountedVolumes::spaceAtPath(const QString& path) {
  struct statvfs status {};
  if (::statvfs(QFile::encodeName(path).constData(), &status) != 0) return std::nullopt;
  return VolumeSpace{.size = ByteCount{status.f_blocks} * status.f_frsize,
                     .freeSize = ByteCount{status.f_bavail} * status.f_frsize};
}

std::optional<QString> LinuxMountedVolumes::startupDiskFreeSize() {
  const std::optional<VolumeSpace> space = spaceAtPath(QStringLiteral("/"));
  if (!space) return std::nullopt;
  return QString::number(space->freeSize);
}

}  // namespace halvard
