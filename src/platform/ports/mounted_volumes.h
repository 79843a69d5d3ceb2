#pragma once

#include <QString>
#include <optional>
#include <vector>

#include "core/units.h"

namespace halvard {

struct MountedVolume {
  QString path;
  /// For the user: the folder's name, "Startup disk" for "/".
  QString name;
  QString fileSystemType;
  bool writable = false;

  bool operator==(const MountedVolume&) const = default;
};

struct VolumeSpace {
  ByteCount size = 0;
  /// What an ordinary user may still write.
  ByteCount freeSize = 0;
};

/// The file systems of local disks. Any thread.
class MountedVolumes {
 public:
  virtual ~MountedVolumes() = default;

  /// In order of mounting, "/" included whatever it is; each file system once, at its first place. Nothing when the
  /// mount table cannot be read.
  virtual std::optional<std::vector<MountedVolume>> mountedLocalVolumes() = 0;

  /// Nothing when the path cannot be asked.
  virtual std::optional<VolumeSpace> spaceAtPath(const QString& path) = 0;

  /// Bytes that an ordinary user may still write on the start-up disk, in decimal digits; nothing when it cannot be
  /// asked.
  virtual std::optional<QString> startupDiskFreeSize() = 0;
};

}  // namespace halvard
