#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/procfs/kept_file.h"

namespace halvard {

/// The line "full" of /proc/pressure/memory: times in which every process that wanted to run waited for memory.
struct MemoryPressure {
  /// Share of the last ten seconds, in hundredths of a percent (0 to 10000).
  std::uint32_t average10 = 0;
  /// Since the machine started.
  std::chrono::microseconds total{0};
};

/// Nothing unless the line "full" is there and whole. Allocates nothing.
std::optional<MemoryPressure> parseMemoryPressure(std::string_view text);

/// One thread.
class MemoryPressureReader {
 public:
  explicit MemoryPressureReader(const std::string& procRoot = "/proc");
  /// Nothing on kernels that do not measure pressure.
  std::optional<MemoryPressure> read();

 private:
  KeptFile m_file;
};

}  // namespace halvard
