#pragma once

#include <cstdint>
#include <optional>

#include "core/units.h"

namespace halvard {

/// The host's memory counters, in pages. Field names are the kernel record's.
struct VmStatistics64 {
  PageCount active_count = 0;
  PageCount inactive_count = 0;
  /// Memory that is neither free, nor on an LRU list, nor reclaimable slab: kernel, page tables, locked pages.
  PageCount wire_count = 0;
  /// Lazily freeable pages among internal_page_count: the kernel drops them before anything else.
  PageCount purgeable_count = 0;
  /// RAM that holds compressed pages: zram pools and zswap.
  PageCount compressor_page_count = 0;
  /// Anonymous and shared memory, lazily freeable pages included.
  PageCount internal_page_count = 0;
};

/// The record of systems before version 10.9; its fields are never part of the used figure.
struct VmStatistics {
  PageCount free_count = 0;
  PageCount active_count = 0;
  PageCount inactive_count = 0;
  PageCount wire_count = 0;
};

/// What has passed between RAM and swap since the machine started, whoever it belongs to, in bytes of page contents.
/// Where swap is compressed in RAM, that counts as swap. What was read ahead without being asked for is in it.
struct SwapTraffic {
  ByteCount outBytes = 0;
  ByteCount inBytes = 0;
  bool operator==(const SwapTraffic&) const = default;
};

/// How much has been paged out, and to where. Bytes of page contents, before compression.
struct SwapUsage {
  /// Contents held compressed in RAM: by zram devices that are swap areas, and by zswap.
  ByteCount compressedBytes = 0;
  /// Contents on swap partitions and files, without what zswap still holds: moved, not freed.
  ByteCount swappedToDiskBytes = 0;
  /// Contents that are in swap and not in RAM as well, pages of zeros included.
  ByteCount awayBytes = 0;
  /// Nothing when the machine does not count it.
  std::optional<SwapTraffic> traffic = std::nullopt;
};

/// The machine's memory counters. Main thread, except where an instance is made for another thread alone.
class HostStatistics {
 public:
  /// 0 is success; any other code means that `statistics` is untouched.
  using KernelReturn = int;
  static constexpr KernelReturn kSuccess = 0;
  /// Words of 32 bits in VmStatistics64 and VmStatistics as the callers announce them.
  static constexpr std::uint32_t kWords64 = 38;
  static constexpr std::uint32_t kWordsLegacy = 15;

  virtual ~HostStatistics() = default;

  /// One reading. `wordCount` is kWords64 on entry and the number of words written on return.
  virtual KernelReturn hostStatistics64(VmStatistics64& statistics, std::uint32_t& wordCount) = 0;
  virtual KernelReturn hostStatistics(VmStatistics& statistics, std::uint32_t& wordCount) = 0;

  /// True when a look that costs less than a reading finds nothing taken or given back since the last look, so that a
  /// reading made after that one will do. Not exact: the implementation says what escapes it, and for how many looks in
  /// a row at most. For one caller that comes again and again; false where there is no such look.
  virtual bool isUnmoved() { return false; }

  /// Bytes; nothing when the machine does not say.
  virtual std::optional<std::uint32_t> pageSize() const = 0;
  /// Bytes of RAM the kernel manages (MemTotal). Never 0.
  virtual ByteCount physicalMemory() const = 0;
  /// Nothing when the machine does not say; zeros when there is no swap.
  virtual std::optional<SwapUsage> swapUsage() const = 0;
};

}  // namespace halvard
