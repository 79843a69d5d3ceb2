#pragma once

#include <string>
#include <vector>

#include "platform/linux/purge/purge_guard.h"
#include "platform/linux/reclaim/victim_selection.h"
#include "platform/ports/purgeable_memory.h"

namespace halvard {

/// Bytes that may be paged out before swap is full (isSwapFull).
ByteCount roomInSwap(const GuardReadings& readings);

/// The share of its size that a page keeps in RAM once it is paged out: what the machine's zram devices have come to so
/// far, a third where they hold too little to tell, 0 for swap on disks. 0 to 1.
double keptShare(const std::string& procRoot = "/proc", const std::string& sysRoot = "/sys");

/// The victims up to `room` bytes, summed up by name. Method None when there are none.
ReclaimForecast forecastOf(ReclaimMethod method, const std::vector<Victim>& victims, ByteCount room, double kept);

}  // namespace halvard
