#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/procfs/kept_file.h"

namespace halvard {

/// A line of /proc/pressure/memory: times in which every process that wanted to run waited for memory ("full"), or at
/// least one of them did ("some").
enum class PressureLine { Full, Some };

struct MemoryPressure {
  /// Share of the last ten seconds, in hundredths of a percent (0 to 10000).
  std::uint32_t average10 = 0;
  /// Since the machine started.
  std::chrono::microseconds total{0};
};

/// Nothing unless that line is there and whole. Allocates nothing.
std::optional<MemoryPressure> parseMemoryPressure(std::string_view text, PressureLine line = PressureLine::Full);

/// One thread.
class MemoryPressureReader {
 public:
  explicit MemoryPressureReader(const std::string& procRoot = "/proc", PressureLine line = PressureLine::Full);
  /// Nothing on kernels that do not measure pressure.
  std::optional<MemoryPressure> read();

 private:
  const PressureLine m_line;
  KeptFile m_file;
};

}  // namespace halvard
