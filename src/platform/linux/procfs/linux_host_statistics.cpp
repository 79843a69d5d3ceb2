#include "platform/linux/procfs/linux_host_statistics.h"

#include <sys/sysinfo.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "platform/linux/procfs/swap_devices.h"
#include "platform/linux/procfs/swap_traffic.h"

namespace halvard {
namespace {

/// Four times what kernel 6.18 writes.
constexpr std::size_t kMeminfoBuffer = 8192;
constexpr std::size_t kVmstatBuffer = 32768;
/// Enough for 128 processors. Of a longer file, and of one with several memory nodes, which the kernel may hand out in
/// pieces, the lists that come with one read count.
constexpr std::size_t kZoneinfoBuffer = std::size_t{64} << 10;

/// How far the memory that no list shows may move before the processors' own lists are read anew, the larger of both:
/// bytes, and a share of all. Their file costs the kernel twice as much as all the others, and on a quiet machine
/// nothing there changes.
constexpr ByteCount kMovedBytes = ByteCount{1} << 20;
constexpr ByteCount kMovedShare = 4096;
/// The lists are read at least this often, in readings.
constexpr int kReadingsPerListing = 30;

ByteCount difference(ByteCount from, ByteCount take) {
  return from > take ? from - take : 0;
}

ByteCount onNoList(const MemoryInfo& info) {
  return difference(info.total, info.free + info.active + info.inactive + info.reclaimableSlab);
}

std::optional<std::uint32_t> systemPageSize() {
  const long size = ::sysconf(_SC_PAGESIZE);
  return size > 0 ? std::optional(static_cast<std::uint32_t>(size)) : std::nullopt;
}

/// What the kernel says without a file; at least 1.
ByteCount physicalMemoryFromSystemCall() {
  struct sysinfo info {};
  if (::sysinfo(&info) != 0) return 1;
  return std::max<ByteCount>(1, ByteCount{info.totalram} * info.mem_unit);
}

}  // namespace

VmStatistics64 toVmStatistics64(const MemoryInfo& info, const MemoryBeside& beside, std::uint32_t pageSize) {
  const ByteCount onLists = info.activeAnonymous + info.inactiveAnonymous;
  // The lists hold more than is mapped where the swap cache is large; then nothing counts as purgeable.
  const ByteCount internal = std::max(info.anonymousMapped + info.shared, onLists);
  ByteCount wired = info.total;
  for (const ByteCount other :
       {info.free, beside.processorFree, info.active, info.inactive, info.reclaimableSlab, beside.compressor}) {
    wired = difference(wired, other);
  }
  VmStatistics64 statistics;
  statistics.active_count = info.active / pageSize;
  statistics.inactive_count = info.inactive / pageSize;
  statistics.internal_page_count = internal / pageSize;
  statistics.purgeable_count = statistics.internal_page_count - onLists / pageSize;
  statistics.compressor_page_count = beside.compressor / pageSize;
  statistics.wire_count = wired / pageSize;
  return statistics;
}

std::optional<MemoryLevels> currentMemoryLevels() {
  struct sysinfo info {};
  if (::sysinfo(&info) != 0) return std::nullopt;
  return MemoryLevels{info.totalram,  info.freeram,  info.sharedram, info.bufferram,
                      info.totalswap, info.freeswap, info.procs};
}

LinuxHostStatistics::LinuxHostStatistics(const std::string& procRoot, const std::string& sysRoot, Levels levels)
    : m_levels(std::move(levels)),
      m_procRoot(procRoot),
      m_sysRoot(sysRoot),
      m_meminfo(procRoot + "/meminfo"),
      m_zoneinfo(procRoot + "/zoneinfo"),
      m_zoneBuffer(kZoneinfoBuffer),
      m_pools(sysRoot),
      m_pageSize(systemPageSize()) {
  MemoryInfo info;
  if (readMemoryInfo(info) != kSuccess) m_physicalMemory = physicalMemoryFromSystemCall();
}

HostStatistics::KernelReturn LinuxHostStatistics::readMemoryInfo(MemoryInfo& info) {
  std::array<char, kMeminfoBuffer> buffer;
  const std::string_view text = m_meminfo.read(buffer);
  if (text.empty()) return errno;
  const std::optional<MemoryInfo> parsed = parseMemoryInfo(text);
  if (!parsed) return EBADMSG;
  info = *parsed;
  m_physicalMemory = info.total;
  return kSuccess;
}

ByteCount LinuxHostStatistics::poolBytes(const MemoryInfo& info) {
  if (m_swapTotal != info.swapTotal) m_pools.discover();
  m_swapTotal = info.swapTotal;
  if (info.swapTotal == 0) return 0;
  std::optional<ByteCount> pools = m_pools.occupiedBytes();
  if (!pools) {
    m_pools.discover();
    pools = m_pools.occupiedBytes();
  }
  return pools.value_or(0);
}

ByteCount LinuxHostStatistics::processorFreeBytes(const MemoryInfo& info) {
  const ByteCount unlisted = onNoList(info);
  const ByteCount moved = std::max(unlisted, m_listedAt) - std::min(unlisted, m_listedAt);
  if (m_readingsToListing > 0 && moved <= std::max(kMovedBytes, info.total / kMovedShare)) {
    --m_readingsToListing;
    return m_processorFree;
  }
  m_readingsToListing = kReadingsPerListing - 1;
  m_listedAt = unlisted;
  m_processorFree = parseProcessorFreePages(m_zoneinfo.read(m_zoneBuffer)) * pageSizeOrDefault();
  return m_processorFree;
}

HostStatistics::KernelReturn LinuxHostStatistics::hostStatistics64(VmStatistics64& statistics,
                                                                   std::uint32_t& wordCount) {
  MemoryInfo info;
  const KernelReturn code = readMemoryInfo(info);
  if (code != kSuccess) return code;
  const MemoryBeside beside{poolBytes(info) + info.zswapPool, processorFreeBytes(info)};
  statistics = toVmStatistics64(info, beside, pageSizeOrDefault());
  wordCount = kWords64;
  return kSuccess;
}

HostStatistics::KernelReturn LinuxHostStatistics::hostStatistics(VmStatistics& statistics, std::uint32_t& wordCount) {
  MemoryInfo info;
  const KernelReturn code = readMemoryInfo(info);
  if (code != kSuccess) return code;
  const std::uint32_t size = pageSizeOrDefault();
  const MemoryBeside beside{0, processorFreeBytes(info)};
  const VmStatistics64 all = toVmStatistics64(info, beside, size);
  statistics = {(info.free + beside.processorFree) / size, all.active_count, all.inactive_count, all.wire_count};
  wordCount = kWordsLegacy;
  return kSuccess;
}

bool LinuxHostStatistics::isUnmoved() {
  const std::optional<MemoryLevels> levels = m_levels();
  const bool isSame = levels && std::exchange(m_lastLevels, levels) == levels;
  m_timesUnmoved = isSame && m_timesUnmoved < kMostUnmoved ? m_timesUnmoved + 1 : 0;
  // A round without a reading counts as one for the lists, which nothing else tells of.
  if (m_timesUnmoved > 0 && m_readingsToListing > 0) --m_readingsToListing;
  return m_timesUnmoved > 0;
}

std::optional<SwapTraffic> LinuxHostStatistics::swapTraffic() const {
  std::array<char, kVmstatBuffer> buffer;
  return parseSwapTraffic(readFileInPieces(m_procRoot + "/vmstat", buffer), pageSizeOrDefault());
}

std::optional<SwapUsage> LinuxHostStatistics::swapUsage() const {
  std::array<char, kMeminfoBuffer> buffer;
  const std::optional<MemoryInfo> info = parseMemoryInfo(readFile(m_procRoot + "/meminfo", buffer));
  if (!info) return std::nullopt;
  const std::optional<SwapTraffic> traffic = swapTraffic();
  if (info->swapTotal == 0) return SwapUsage{.traffic = traffic};
  const std::optional<SwapDevices> devices = parseSwapDevices(readFile(m_procRoot + "/swaps", buffer));
  if (!devices) return std::nullopt;
  // zswap's pages keep their places on the disk, but are still in RAM.
  SwapUsage usage{info->zswapContents, difference(devices->usedElsewhere, info->zswapContents),
                  difference(difference(info->swapTotal, info->swapFree), info->swapCached), traffic};
  for (const std::uint32_t number : devices->zram()) {
    const std::optional<ByteCount> contents = zramContents(m_sysRoot, number);
    if (!contents) return std::nullopt;
    usage.compressedBytes += *contents;
  }
  return usage;
}

}  // namespace halvard
