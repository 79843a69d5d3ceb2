#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "platform/ports/processor_ticks.h"

namespace halvard {

/// Ticks of one processor as /proc/stat has them, by CpuState: user; system + irq + softirq + steal; idle + iowait;
/// nice. Guest time is part of user and nice already.
using ProcessorCounters = std::array<std::uint64_t, CPU_STATE_MAX>;

/// Writes the counters of each processor that /proc/stat lists to its number in `processors`; entries of processors
/// that are not listed (offline) stay as they are, and so do those with numbers behind the end. False, with
/// `processors` in an undefined state, unless the text starts with the sum line, every processor's line is whole and
/// something follows them: without that the list may have been cut off. Allocates nothing.
bool parseProcessorStat(std::string_view text, std::span<ProcessorCounters> processors);

/// The highest processor number in a list of the kernel's form ("0-3,8-11") plus 1, and so at least 1. Nothing when the
/// list is malformed or names a processor above 65535.
std::optional<std::uint32_t> parseProcessorList(std::string_view text);

}  // namespace halvard
