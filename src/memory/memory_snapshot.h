#pragma once

#include <cstdint>

#include "core/units.h"
#include "platform/ports/host_statistics.h"

namespace halvard {

class MacOSVersion;

/// One reading of the host's memory counters, refreshed in place, and every figure derived from it. The single source
/// of the memory figures that the program shows. One thread.
///
/// Inactive, file-backed and free pages all count as free; used is application, wired and compressor memory.
class MemorySnapshot {
 public:
  /// `host` outlives the snapshot. All counters are 0 until the first refresh.
  MemorySnapshot(HostStatistics& host, const MacOSVersion& version);

  /// Reads the page size. When the machine does not say, writes "getting page size" to standard error and takes 4096.
  void initValues();

  /// Refreshes the counters. HostStatistics::kSuccess, or the reason why the old reading stands.
  HostStatistics::KernelReturn updateMemoryStatictics();

  /// Bytes of physical memory, asked afresh.
  ByteCount calculateTotalSize() const;
  PageCount calculateTotalPages() const;
  /// Application memory + wired + compressed. 0 before the first refresh, and on the path of versions before 10.9.
  PageCount calculateUsedPages() const;
  /// Never below 0.
  PageCount calculateFreePages() const;
  /// Bytes.
  ByteCount calculateFreeSize() const;
  /// Bytes.
  ByteCount calculateUsedSize() const;
  /// calculateUsedPages() / calculateTotalPages().
  double usedFraction() const;
  /// calculateFreePages() / calculateTotalPages().
  double freeFraction() const;

  /// Bytes a page; never 0.
  std::uint32_t pageSize() const { return m_npagesize; }
  /// The counters as read.
  const VmStatistics64& counters() const { return m_vmstat64; }
  /// True when the 64-bit counters are read: from version 10.9 on.
  bool use64Statictics() const { return m_bUse64Statictics; }

 private:
  HostStatistics& m_host;
  bool m_bUse64Statictics;
  std::uint32_t m_npagesize = 4096;
  std::uint32_t m_ncount;
  VmStatistics m_vmstat;
  VmStatistics64 m_vmstat64;
};

}  // namespace halvard
