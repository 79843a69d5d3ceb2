#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/ports/host_statistics.h"

namespace halvard {

/// What the text of /proc/vmstat comes to, for pages of `pageSize` bytes. Each page is counted once:
///  - out: pswpout (written to a swap area, zram included) + swpout_zero (pages of zeros, which are only noted, from
///    Linux 6.13 on) + zswpout (taken by zswap) - zswpwb (of these, written to the area later);
///  - in: pswpin + swpin_zero + zswpin.
/// Nothing unless pswpin and pswpout are there; the other lines count as 0 where they are missing. Allocates nothing.
std::optional<SwapTraffic> parseSwapTraffic(std::string_view text, std::uint32_t pageSize);

}  // namespace halvard
