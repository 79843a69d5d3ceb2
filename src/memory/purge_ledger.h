#pragma once

#include <chrono>
#include <optional>

#include "memory/purge_report.h"
#include "platform/ports/host_statistics.h"

namespace halvard {

class Clock;
class MemorySnapshot;

/// One look at the machine for a ledger.
struct LedgerReading {
  std::chrono::steady_clock::time_point time;
  ByteCount used = 0;         ///< MemorySnapshot::calculateUsedSize()
  ByteCount application = 0;  ///< internal - purgeable pages: anonymous and shared memory in RAM
  ByteCount wired = 0;        ///< wired pages
  ByteCount compressor = 0;   ///< compressor pages: RAM that holds compressed ones
  std::optional<SwapUsage> swap;
};

/// `snapshot` as it stands, and `host`'s swap as of now.
LedgerReading readLedger(const MemorySnapshot& snapshot, const HostStatistics& host, const Clock& clock);

/// What happened between two readings. The outcome, the calendar time and the second look are not filled in.
PurgeReport ledgerOf(const LedgerReading& before, const LedgerReading& after);

/// The second look at what `report` gained; `after` is the reading at its end.
PurgeRecheck recheckOf(const PurgeReport& report, const LedgerReading& after, const LedgerReading& now);

}  // namespace halvard
