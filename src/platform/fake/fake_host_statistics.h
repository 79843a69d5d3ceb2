#pragma once

#include <deque>
#include <mutex>

#include "platform/ports/host_statistics.h"

namespace halvard {

/// Memory counters that a test sets. Thread safe.
class FakeHostStatistics : public HostStatistics {
 public:
  /// 4 GiB of RAM in pages of 4096 bytes, all counters 0, no swap.
  FakeHostStatistics() = default;

  KernelReturn hostStatistics64(VmStatistics64& statistics, std::uint32_t& wordCount) override;
  KernelReturn hostStatistics(VmStatistics& statistics, std::uint32_t& wordCount) override;
  bool isUnmoved() override;
  std::optional<std::uint32_t> pageSize() const override;
  ByteCount physicalMemory() const override;
  std::optional<SwapUsage> swapUsage() const override;

  /// What every 64-bit reading gives from now on; readings that wait in the queue are dropped.
  void setStatistics64(const VmStatistics64& statistics);
  /// One more 64-bit reading behind those already queued. Once the queue is empty the last one stays.
  void queueStatistics64(const VmStatistics64& statistics);
  /// The code of the readings to come; a failing reading takes nothing from the queue. kSuccess ends the failure.
  void setKernelReturn(KernelReturn code);
  /// What isUnmoved() answers from now on; false at first.
  void setUnmoved(bool unmoved);
  void setPageSize(std::optional<std::uint32_t> bytes);
  void setPhysicalMemory(ByteCount bytes);
  void setSwapUsage(std::optional<SwapUsage> usage);

  /// Readings of either kind so far, failed ones included.
  int readings() const;
  /// What the caller put into `wordCount` for its last reading; 0 before the first.
  std::uint32_t lastWordCount() const;

 private:
  /// The code for this reading.
  KernelReturn beginReading(std::uint32_t wordCount);

  mutable std::mutex m_mutex;
  VmStatistics64 m_statistics64;
  std::deque<VmStatistics64> m_queue;
  KernelReturn m_code = kSuccess;
  bool m_isUnmoved = false;
  std::optional<std::uint32_t> m_pageSize = 4096;
  ByteCount m_physicalMemory = ByteCount{4} << 30;
  std::optional<SwapUsage> m_swapUsage = SwapUsage{};
  int m_readings = 0;
  std::uint32_t m_lastWordCount = 0;
};

}  // namespace halvard
