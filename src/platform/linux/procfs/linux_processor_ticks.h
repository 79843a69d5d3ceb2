#pragma once

#include <string>

#include "platform/linux/procfs/kept_file.h"
#include "platform/linux/procfs/processor_stat.h"
#include "platform/ports/processor_ticks.h"

namespace halvard {

/// Processor ticks from /proc/stat, one pread a reading. One thread.
class LinuxProcessorTicks : public ProcessorTicks {
 public:
  /// The processors are counted here, once: those listed in SYSROOT/devices/system/cpu/present.
  explicit LinuxProcessorTicks(const std::string& procRoot = "/proc", const std::string& sysRoot = "/sys");

  std::optional<std::uint32_t> processorCount() const override { return m_count; }
  /// No counter ever goes back: the kernel's iowait may, and an offline processor vanishes from the file.
  std::optional<std::vector<ProcessorLoad>> processorLoad() override;

 private:
  KeptFile m_stat;
  std::optional<std::uint32_t> m_count;
  /// The latest values, and room for the next ones; one entry a processor.
  std::vector<ProcessorCounters> m_latest;
  std::vector<ProcessorCounters> m_next;
  std::vector<char> m_buffer;
};

}  // namespace halvard
