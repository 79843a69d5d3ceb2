#pragma once

#include <QString>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/ports/processor_ticks.h"

namespace halvard {

class ProcessInformation;

/// How busy the processors are. One instance for the run; the readings of all callers share one history.
class CPUInfoManager {
 public:
  /// Asks `ticks` for the number of processors, once; 1 when it does not say. Both must outlive this object.
  CPUInfoManager(ProcessorTicks& ticks, ProcessInformation& processes);

  /// Busy share (user, system, nice) of all processor time since the call before, 0 to 1; the first call measures
  /// since the system started. 0 when the counters cannot be read, and the call after that measures from the last
  /// reading that worked. Not a number when no tick has passed: every comparison with a limit is then false.
  /// Any thread.
  float getCPUUsage();

  /// The processor share of one process in per cent as "ps" prints it ("12.5"), "unknown" without such a process.
  /// Runs the tool: not for the main thread.
  QString get_process_usage(std::int32_t pid);

  /// Prints the processor time of one fixed process, in nanoseconds, zeros when it does not exist.
  void showCPUInfo(std::FILE* output = stdout);

 private:
  using Readings = std::vector<ProcessorLoad>;
  float busyShare(const Readings& current) const;

  ProcessorTicks& m_ticks;
  ProcessInformation& m_processes;
  const std::uint32_t m_numCPUs;
  std::mutex m_CPUUsageLock;
  std::optional<Readings> m_prevCpuInfo;  // guarded by m_CPUUsageLock
};

}  // namespace halvard
