#pragma once

#include <optional>
#include <string_view>

#include "core/units.h"

namespace halvard {

/// What /proc/meminfo says, in bytes. Each member names the line it comes from.
struct MemoryInfo {
  ByteCount total = 0;              ///< MemTotal, never 0
  ByteCount free = 0;               ///< MemFree
  ByteCount available = 0;          ///< MemAvailable: what new programs can have without paging out
  ByteCount active = 0;             ///< Active
  ByteCount inactive = 0;           ///< Inactive
  ByteCount activeAnonymous = 0;    ///< Active(anon): shared memory included
  ByteCount inactiveAnonymous = 0;  ///< Inactive(anon): shared memory included
  ByteCount swapTotal = 0;          ///< SwapTotal
  ByteCount swapFree = 0;           ///< SwapFree
  ByteCount swapCached = 0;         ///< SwapCached: in swap and in RAM; 0 on kernels without the line
  ByteCount zswapPool = 0;          ///< Zswap: RAM that zswap's pool occupies; 0 on kernels without the line
  ByteCount zswapContents = 0;      ///< Zswapped: what that pool holds, before compression; 0 without the line
  ByteCount anonymousMapped = 0;    ///< AnonPages: lazily freeable and locked pages included, swap cache not
  ByteCount shared = 0;             ///< Shmem: tmpfs, memfds, System V and anonymous shared memory
  ByteCount reclaimableSlab = 0;    ///< SReclaimable
};

/// Nothing unless every line without "on kernels without" above is there, in kB, with an amount that a machine can
/// have. Of a line that comes twice the first counts. Allocates nothing.
std::optional<MemoryInfo> parseMemoryInfo(std::string_view text);

/// Free pages that /proc/zoneinfo shows on the processors' own lists ("count:"). MemFree leaves them out, although they
/// are a percent of RAM and more on a busy machine. Of a text that was cut off, the lists in it; 0 when there is none,
/// or when the sum is more than a machine can have. Allocates nothing.
PageCount parseProcessorFreePages(std::string_view text);

}  // namespace halvard
