#include "memory/purge_ledger.h"

#include "core/clock.h"
#include "memory/memory_snapshot.h"

namespace halvard {
namespace {

std::int64_t growth(ByteCount before, ByteCount after) {
  return static_cast<std::int64_t>(after - before);
}

std::chrono::milliseconds between(const LedgerReading& before, const LedgerReading& after) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(after.time - before.time);
}

/// Growth of one direction of the traffic.
std::optional<std::int64_t> passed(const LedgerReading& before, const LedgerReading& after,
                                   ByteCount SwapTraffic::*direction) {
  if (!before.swap || !after.swap || !before.swap->traffic || !after.swap->traffic) return std::nullopt;
  return growth(*before.swap->traffic.*direction, *after.swap->traffic.*direction);
}

std::optional<SwapLedger> swapLedgerOf(const LedgerReading& before, const LedgerReading& after) {
  if (!before.swap || !after.swap) return std::nullopt;
  SwapLedger ledger;
  ledger.compressedBytes = growth(before.swap->compressedBytes, after.swap->compressedBytes);
  ledger.compressedIntoBytes = growth(before.compressor, after.compressor);
  ledger.swappedToDiskBytes = growth(before.swap->swappedToDiskBytes, after.swap->swappedToDiskBytes);
  ledger.givenBackBytes =
      growth(after.application + after.swap->awayBytes, before.application + before.swap->awayBytes);
  ledger.pagedOutBytes = passed(before, after, &SwapTraffic::outBytes);
  return ledger;
}

}  // namespace

LedgerReading readLedger(const MemorySnapshot& snapshot, const HostStatistics& host, const Clock& clock) {
  const VmStatistics64& counters = snapshot.counters();
  const ByteCount page = snapshot.pageSize();
  LedgerReading reading;
  reading.time = clock.monotonicNow();
  reading.used = snapshot.calculateUsedSize();
  reading.application = (counters.internal_page_count - counters.purgeable_count) * page;
  reading.wired = counters.wire_count * page;
  reading.compressor = counters.compressor_page_count * page;
  reading.swap = host.swapUsage();
  return reading;
}

PurgeReport ledgerOf(const LedgerReading& before, const LedgerReading& after) {
  PurgeReport report;
  report.duration = between(before, after);
  report.usedBefore = before.used;
  report.usedAfter = after.used;
  report.gainedBytes = growth(after.used, before.used);
  report.freedBytes = report.gainedBytes > 0 ? static_cast<ByteCount>(report.gainedBytes) : 0;
  report.kernelBytes = growth(before.wired, after.wired);
  report.swap = swapLedgerOf(before, after);
  return report;
}

PurgeRecheck recheckOf(const PurgeReport& report, const LedgerReading& after, const LedgerReading& now) {
  return {between(after, now), growth(now.used, report.usedBefore), passed(after, now, &SwapTraffic::inBytes)};
}

}  // namespace halvard
