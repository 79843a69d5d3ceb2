#include "memory/memory_status.h"

#include "memory/memory_snapshot.h"

namespace halvard {
namespace {

QJsonValue integer(std::uint64_t value) {
  return static_cast<qint64>(value);
}

}  // namespace

QJsonObject memoryStatus(const MemorySnapshot& snapshot, const CleaningStatus& cleaning) {
  const VmStatistics64& counters = snapshot.counters();
  return {
      {QStringLiteral("pageSize"), integer(snapshot.pageSize())},
      {QStringLiteral("physicalBytes"), integer(snapshot.calculateTotalSize())},
      {QStringLiteral("internalPages"), integer(counters.internal_page_count)},
      {QStringLiteral("purgeablePages"), integer(counters.purgeable_count)},
      {QStringLiteral("wiredPages"), integer(counters.wire_count)},
      {QStringLiteral("compressorPages"), integer(counters.compressor_page_count)},
      {QStringLiteral("usedPages"), integer(snapshot.calculateUsedPages())},
      {QStringLiteral("totalPages"), integer(snapshot.calculateTotalPages())},
      {QStringLiteral("usedFraction"), snapshot.usedFraction()},
      {QStringLiteral("freeBytes"), integer(snapshot.calculateFreeSize())},
      {QStringLiteral("cpuUsage"), cleaning.cpuUsage},
      {QStringLiteral("purging"), cleaning.purging},
      {QStringLiteral("lastPurgedBytes"), integer(cleaning.lastPurgedBytes)},
      {QStringLiteral("cleanedBytes"), integer(cleaning.cleanedBytes)},
  };
}

}  // namespace halvard
