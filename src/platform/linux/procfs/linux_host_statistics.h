#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/procfs/kept_file.h"
#include "platform/linux/procfs/memory_info.h"
#include "platform/linux/procfs/zram_pools.h"
#include "platform/ports/host_statistics.h"

namespace halvard {

/// What /proc/meminfo does not say. Bytes.
struct MemoryBeside {
  ByteCount compressor = 0;     ///< RAM of zram's pools and of zswap's
  ByteCount processorFree = 0;  ///< free memory on the processors' own lists, which MemFree leaves out
};

/// The counters that one reading comes to.
///
/// Used memory is internal - purgeable + wire + compressor. internal - purgeable is the anonymous LRU lists exactly:
/// anonymous and shared memory. Lazily freeable pages are on the file lists, so that purgeable is what AnonPages and
/// Shmem count beyond those lists (locked pages, which wire counts, are in it as well: together they come out right).
/// Differences stop at 0, for the lines of one reading are not taken at one instant.
VmStatistics64 toVmStatistics64(const MemoryInfo& info, const MemoryBeside& beside, std::uint32_t pageSize);

/// What sysinfo(2) tells of memory and swap, in its own unit, and the number of threads.
struct MemoryLevels {
  std::uint64_t total = 0;
  std::uint64_t free = 0;
  std::uint64_t shared = 0;
  std::uint64_t buffers = 0;
  std::uint64_t swapTotal = 0;
  std::uint64_t swapFree = 0;
  std::uint64_t threads = 0;
  bool operator==(const MemoryLevels&) const = default;
};

/// Nothing where the kernel does not say.
std::optional<MemoryLevels> currentMemoryLevels();

/// Memory counters from /proc/meminfo, /proc/zoneinfo and the zram pools: one pread of each a reading. One thread an
/// instance. While the memory that no list shows stays within the larger of 1 MiB and a 4096th of all, /proc/zoneinfo
/// is read every thirtieth time alone, times that isUnmoved() spared included; the pools are read while there is swap.
///
/// Pools are listed at the first reading, when SwapTotal differs from the reading before, and when a pool cannot be
/// read: a device joins or leaves the swap areas in no other way. A pool missed for another reason (a file system on
/// zram) counts as wired meanwhile, so that the used figure is the same.
class LinuxHostStatistics : public HostStatistics {
 public:
  using Levels = std::function<std::optional<MemoryLevels>()>;
  /// How often in a row nothing has moved, at most: what is taken from the processors' own lists or passes from one
  /// list to another shows in a reading alone.
  static constexpr int kMostUnmoved = 2;

  explicit LinuxHostStatistics(const std::string& procRoot = "/proc", const std::string& sysRoot = "/sys",
                               Levels levels = currentMemoryLevels);

  /// The code of a failed reading is an errno; EBADMSG when the file does not say what it should.
  KernelReturn hostStatistics64(VmStatistics64& statistics, std::uint32_t& wordCount) override;
  KernelReturn hostStatistics(VmStatistics& statistics, std::uint32_t& wordCount) override;
  std::optional<std::uint32_t> pageSize() const override { return m_pageSize; }
  /// Compares what sysinfo(2) tells, which costs a tenth of a reading.
  bool isUnmoved() override;
  /// As of the latest good reading; one is made at construction.
  ByteCount physicalMemory() const override { return m_physicalMemory; }
  /// From /proc/meminfo (what is away: SwapTotal - SwapFree - SwapCached), /proc/swaps (disks), the mm_stat of the zram
  /// devices among them (compressed), and /proc/vmstat (traffic, see parseSwapTraffic).
  /// Opens its files each time: it is asked around a purge, not every second.
  std::optional<SwapUsage> swapUsage() const override;

 private:
  /// An errno leaves `info` untouched.
  KernelReturn readMemoryInfo(MemoryInfo& info);
  /// 0 when the pools cannot be read even after listing them anew.
  ByteCount poolBytes(const MemoryInfo& info);
  ByteCount processorFreeBytes(const MemoryInfo& info);
  std::optional<SwapTraffic> swapTraffic() const;
  std::uint32_t pageSizeOrDefault() const { return m_pageSize.value_or(4096); }

  const Levels m_levels;
  std::optional<MemoryLevels> m_lastLevels;
  int m_timesUnmoved = 0;
  std::string m_procRoot;
  std::string m_sysRoot;
  KeptFile m_meminfo;
  KeptFile m_zoneinfo;
  std::vector<char> m_zoneBuffer;
  ByteCount m_processorFree = 0;
  ByteCount m_listedAt = 0;  ///< the memory on no list when m_processorFree was read
  int m_readingsToListing = 0;
  ZramPools m_pools;
  std::optional<std::uint32_t> m_pageSize;
  ByteCount m_physicalMemory = 0;
  std::optional<ByteCount> m_swapTotal;
};

}  // namespace halvard
