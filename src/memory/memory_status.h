#pragma once

#include <QJsonObject>

#include "core/units.h"

namespace halvard {

class MemorySnapshot;

/// What a status report holds besides the snapshot.
struct CleaningStatus {
  /// 0 to 1.
  double cpuUsage = 0;
  bool purging = false;
  /// Bytes gained by the last purge of this run; 0 before the first.
  ByteCount lastPurgedBytes = 0;
  /// Bytes gained by all purges so far.
  ByteCount cleanedBytes = 0;
};

/// The status record that scripts read: `pageSize`, `physicalBytes`, `internalPages`, `purgeablePages`, `wiredPages`,
/// `compressorPages`, `usedPages`, `totalPages`, `usedFraction`, `freeBytes`, `cpuUsage`, `purging`, `lastPurgedBytes`,
/// `cleanedBytes`.
QJsonObject memoryStatus(const MemorySnapshot& snapshot, const CleaningStatus& cleaning);

}  // namespace halvard
