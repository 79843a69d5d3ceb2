#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "core/clock.h"
#include "core/units.h"
#include "platform/ports/purgeable_memory.h"

namespace halvard {

/// The part of a ledger that needs to know about swap. All of it from HostStatistics::swapUsage() before and after.
struct SwapLedger {
  /// Growth of what zram devices and zswap hold (bytes before compression): still in RAM, only smaller.
  std::int64_t compressedBytes = 0;
  /// Growth of the RAM that zram's and zswap's pools occupy (MemorySnapshot's compressor pages): the price of the
  /// above.
  std::int64_t compressedIntoBytes = 0;
  /// Growth of what lies on disk swap: moved, not freed.
  std::int64_t swappedToDiskBytes = 0;
  /// What applications have given back by themselves meanwhile: the fall of all that they hold, in RAM (application
  /// memory) and in swap (SwapUsage::awayBytes). Below 0 when they took more. Memory that somebody locked or marked as
  /// dispensable meanwhile counts as given back.
  std::int64_t givenBackBytes = 0;
  /// Everything that went out to swap meanwhile (SwapTraffic); nothing when the machine does not count it.
  std::optional<std::int64_t> pagedOutBytes;
};

/// What was left of a purge's gain some time after it.
struct PurgeRecheck {
  /// After the end of the purge.
  std::chrono::milliseconds delay{0};
  /// The used memory before the purge less that of now: how much of PurgeReport::gainedBytes is still free. More than
  /// that when others have ended meanwhile; below 0 when more is used than before the purge.
  std::int64_t stillFreeBytes = 0;
  /// What came back from swap since the end of the purge (SwapTraffic), whoever asked for it; nothing when the machine
  /// does not count it.
  std::optional<std::int64_t> cameBackBytes;
};

/// What one purge did, measured right before its start and right after its end. Except where stated, an amount is
/// negative when it moved the other way. Up to roundings and what moved while the counters were being read,
///
///   gained = left RAM for swap + given back - compressed into - kernel growth.
struct PurgeReport {
  /// False when the legacy script was killed; the figures are then of no purge at all.
  bool success = true;
  /// When it ended.
  Clock::Instant time{};
  std::chrono::milliseconds duration{0};
  /// What its steps did, and why not in a better way.
  ReclaimOutcome outcome;
  /// The growth of MemorySnapshot::calculateFreeSize(); 0 when it did not grow.
  ByteCount freedBytes = 0;
  /// MemorySnapshot::calculateUsedSize().
  ByteCount usedBefore = 0;
  ByteCount usedAfter = 0;
  /// usedBefore - usedAfter.
  std::int64_t gainedBytes = 0;
  /// Growth of what the kernel keeps for itself, and of locked memory (MemorySnapshot's wired pages).
  std::int64_t kernelBytes = 0;
  /// Nothing when the machine does not tell about its swap.
  std::optional<SwapLedger> swap;
  /// Nothing until the second look.
  std::optional<PurgeRecheck> recheck;
};

}  // namespace halvard
