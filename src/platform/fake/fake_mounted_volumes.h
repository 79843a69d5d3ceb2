#pragma once

#include <QMap>

#include "platform/ports/mounted_volumes.h"

namespace halvard {

/// Volumes as told.
class FakeMountedVolumes : public MountedVolumes {
 public:
  std::optional<std::vector<MountedVolume>> mountedLocalVolumes() override {
    ++listings;
    return mounted;
  }
  std::optional<VolumeSpace> spaceAtPath(const QString& path) override {
    return spaces.contains(path) ? std::optional(spaces.value(path)) : std::nullopt;
  }
  std::optional<QString> startupDiskFreeSize() override { return startupDisk; }

  /// Adds a volume with these figures.
  void add(const QString& path, VolumeSpace space, bool writable = true, const QString& type = QStringLiteral("ext4")) {
    if (!mounted) mounted.emplace();
    mounted->push_back({.path = path, .name = path, .fileSystemType = type, .writable = writable});
    spaces[path] = space;
  }

  std::optional<std::vector<MountedVolume>> mounted;
  QMap<QString, VolumeSpace> spaces;
  std::optional<QString> startupDisk;
  /// Calls of mountedLocalVolumes().
  int listings = 0;
};

}  // namespace halvard
