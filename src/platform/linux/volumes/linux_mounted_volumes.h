#pragma once

#include "platform/ports/mounted_volumes.h"

namespace halvard {

/// libmount over the mount table, and statvfs. Stateless but for the table's path; any thread.
class LinuxMountedVolumes : public MountedVolumes {
 public:
  explicit LinuxMountedVolumes(QString mountTable = QStringLiteral("/proc/self/mountinfo"));

  std::optional<std::vector<MountedVolume>> mountedLocalVolumes() override;
  std::optional<VolumeSpace> spaceAtPath(const QString& path) override;
  std::optional<QString> startupDiskFreeSize() override;

 private:
  const QString m_mountTable;
};

}  // namespace halvard
