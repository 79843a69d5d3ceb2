#pragma once

#include <chrono>
#include <cstdint>

#include "core/units.h"

namespace halvard {

/// What one purge did, measured right before its start and right after its end.
struct PurgeReport {
  /// False when the legacy script was killed; the figures are then of no purge at all.
  bool success = true;
  /// The growth of MemorySnapshot::calculateFreeSize(); 0 when it did not grow.
  ByteCount freedBytes = 0;
  /// MemorySnapshot::calculateUsedSize().
  ByteCount usedBefore = 0;
  ByteCount usedAfter = 0;
  /// Growth of what zram devices hold (bytes before compression): still in RAM, only smaller. Below 0 when it shrank.
  std::int64_t compressedBytes = 0;
  /// Growth of what lies on disk swap: moved, not freed. Below 0 when it shrank.
  std::int64_t swappedToDiskBytes = 0;
  std::chrono::milliseconds duration{0};
};

}  // namespace halvard
