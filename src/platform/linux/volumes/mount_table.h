#pragma once

#include <QString>
#include <optional>
#include <vector>

#include "platform/ports/mounted_volumes.h"

namespace halvard {

/// The volumes of local disks that the mount table at `path` (the form of /proc/self/mountinfo) lists: no network and
/// no pseudo file systems, nothing the boot loader keeps below /boot and /efi, each device once. "/" always counts.
/// Nothing when the table cannot be read.
std::optional<std::vector<MountedVolume>> readMountTable(const QString& path);

}  // namespace halvard
