#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "core/units.h"

namespace halvard {

/// What a zram device says about itself in its mm_stat, in bytes.
struct ZramStatistics {
  ByteCount contents = 0;  ///< orig_data_size: what is stored in it, before compression
  ByteCount pool = 0;      ///< mem_used_total: RAM it occupies, waste included
};

/// Nothing unless the first three numbers of the line are there. Allocates nothing.
std::optional<ZramStatistics> parseZramStatistics(std::string_view text);

/// The machine's swap areas as /proc/swaps lists them.
struct SwapDevices {
  /// The kernel allows fewer swap areas than this.
  static constexpr std::size_t kMaxZram = 32;

  /// Bytes in use on areas that are not zram devices.
  ByteCount usedElsewhere = 0;
  /// Numbers of the zram devices that are swap areas: the first `zramCount` entries.
  std::array<std::uint32_t, kMaxZram> zramNumbers{};
  std::size_t zramCount = 0;

  std::span<const std::uint32_t> zram() const { return {zramNumbers.data(), zramCount}; }
};

/// Nothing unless the header line is there and every line behind it is whole. Allocates nothing.
std::optional<SwapDevices> parseSwapDevices(std::string_view text);

/// The number in the name of a zram device ("zram0"); nothing for any other name.
std::optional<std::uint32_t> zramNumber(std::string_view name);

}  // namespace halvard
