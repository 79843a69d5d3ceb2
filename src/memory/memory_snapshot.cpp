#include "memory/memory_snapshot.h"

#include <algorithm>
#include <cstdio>

#include "core/macos_version.h"

namespace halvard {

MemorySnapshot::MemorySnapshot(HostStatistics& host, const MacOSVersion& version)
    : m_host(host),
      m_bUse64Statictics(version.is_10_9_orHigher()),
      m_ncount(m_bUse64Statictics ? HostStatistics::kWords64 : HostStatistics::kWordsLegacy) {}

void MemorySnapshot::initValues() {
  if (const auto size = m_host.pageSize(); size && *size > 0) {
    m_npagesize = *size;
    return;
  }
  std::fputs("getting page size", stderr);
  m_npagesize = 4096;
}

HostStatistics::KernelReturn MemorySnapshot::updateMemoryStatictics() {
  return m_bUse64Statictics ? m_host.hostStatistics64(m_vmstat64, m_ncount) : m_host.hostStatistics(m_vmstat, m_ncount);
}

ByteCount MemorySnapshot::calculateTotalSize() const {
  return m_host.physicalMemory();
}

PageCount MemorySnapshot::calculateTotalPages() const {
  return calculateTotalSize() / m_npagesize;
}

PageCount MemorySnapshot::calculateUsedPages() const {
  const PageCount application =
      m_vmstat64.internal_page_count - std::min(m_vmstat64.purgeable_count, m_vmstat64.internal_page_count);
  return application + m_vmstat64.wire_count + m_vmstat64.compressor_page_count;
}

PageCount MemorySnapshot::calculateFreePages() const {
  const PageCount total = calculateTotalPages();
  return total - std::min(calculateUsedPages(), total);
}

ByteCount MemorySnapshot::calculateFreeSize() const {
  return calculateFreePages() * m_npagesize;
}

ByteCount MemorySnapshot::calculateUsedSize() const {
  return calculateUsedPages() * m_npagesize;
}

double MemorySnapshot::usedFraction() const {
  const PageCount total = calculateTotalPages();
  return total == 0 ? 0.0 : static_cast<double>(calculateUsedPages()) / static_cast<double>(total);
}

double MemorySnapshot::freeFraction() const {
  const PageCount total = calculateTotalPages();
  return total == 0 ? 0.0 : static_cast<double>(calculateFreePages()) / static_cast<double>(total);
}

}  // namespace halvard
