#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace halvard {

/// Index of a counter in ProcessorLoad.
enum CpuState : std::size_t { CPU_STATE_USER = 0, CPU_STATE_SYSTEM = 1, CPU_STATE_IDLE = 2, CPU_STATE_NICE = 3 };
inline constexpr std::size_t CPU_STATE_MAX = 4;

/// Ticks of one processor since the system started, wrapping at 32 bits.
using ProcessorLoad = std::array<std::uint32_t, CPU_STATE_MAX>;

/// Cumulative processor time.
class ProcessorTicks {
 public:
  virtual ~ProcessorTicks() = default;

  /// Configured processors, at least 1; nothing when the machine does not say.
  virtual std::optional<std::uint32_t> processorCount() const = 0;

  /// One entry per configured processor, by number. No counter goes back except by wrapping; an offline processor keeps
  /// its last counters (zeros when there are none), so that it adds nothing to a difference. Nothing when the reading
  /// fails.
  virtual std::optional<std::vector<ProcessorLoad>> processorLoad() = 0;
};

}  // namespace halvard
