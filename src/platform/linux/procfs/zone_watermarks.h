#pragma once

#include <string_view>

#include "core/units.h"

namespace halvard {

/// Free pages (MemFree) below which the kernel pages out in the background, out of the text of /proc/zoneinfo: in each
/// zone the mark "low" and what is kept for allocations that can use no other zone. Not far below, whoever needs memory
/// has to page out by himself first. 0 when no zone is whole. Allocates nothing.
PageCount parseBackgroundReclaimMark(std::string_view text);

}  // namespace halvard
