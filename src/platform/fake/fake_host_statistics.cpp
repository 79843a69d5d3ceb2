#include "platform/fake/fake_host_statistics.h"

namespace halvard {

HostStatistics::KernelReturn FakeHostStatistics::beginReading(std::uint32_t wordCount) {
  const std::lock_guard lock(m_mutex);
  ++m_readings;
  m_lastWordCount = wordCount;
  return m_code;
}

HostStatistics::KernelReturn FakeHostStatistics::hostStatistics64(VmStatistics64& statistics,
                                                                  std::uint32_t& wordCount) {
  const KernelReturn code = beginReading(wordCount);
  if (code != kSuccess) return code;
  const std::lock_guard lock(m_mutex);
  if (!m_queue.empty()) {
    m_statistics64 = m_queue.front();
    m_queue.pop_front();
  }
  statistics = m_statistics64;
  wordCount = kWords64;
  return kSuccess;
}

HostStatistics::KernelReturn FakeHostStatistics::hostStatistics(VmStatistics& statistics, std::uint32_t& wordCount) {
  const KernelReturn code = beginReading(wordCount);
  if (code != kSuccess) return code;
  statistics = {};
  wordCount = kWordsLegacy;
  return kSuccess;
}

bool FakeHostStatistics::isUnmoved() {
  const std::lock_guard lock(m_mutex);
  return m_isUnmoved;
}

std::optional<std::uint32_t> FakeHostStatistics::pageSize() const {
  const std::lock_guard lock(m_mutex);
  return m_pageSize;
}

ByteCount FakeHostStatistics::physicalMemory() const {
  const std::lock_guard lock(m_mutex);
  return m_physicalMemory;
}

std::optional<SwapUsage> FakeHostStatistics::swapUsage() const {
  const std::lock_guard lock(m_mutex);
  return m_swapUsage;
}

void FakeHostStatistics::setStatistics64(const VmStatistics64& statistics) {
  const std::lock_guard lock(m_mutex);
  m_queue.clear();
  m_statistics64 = statistics;
}

void FakeHostStatistics::queueStatistics64(const VmStatistics64& statistics) {
  const std::lock_guard lock(m_mutex);
  m_queue.push_back(statistics);
}

void FakeHostStatistics::setUnmoved(bool unmoved) {
  const std::lock_guard lock(m_mutex);
  m_isUnmoved = unmoved;
}

void FakeHostStatistics::setKernelReturn(KernelReturn code) {
  const std::lock_guard lock(m_mutex);
  m_code = code;
}

void FakeHostStatistics::setPageSize(std::optional<std::uint32_t> bytes) {
  const std::lock_guard lock(m_mutex);
  m_pageSize = bytes;
}

void FakeHostStatistics::setPhysicalMemory(ByteCount bytes) {
  const std::lock_guard lock(m_mutex);
  m_physicalMemory = bytes;
}

void FakeHostStatistics::setSwapUsage(std::optional<SwapUsage> usage) {
  const std::lock_guard lock(m_mutex);
  m_swapUsage = usage;
}

int FakeHostStatistics::readings() const {
  const std::lock_guard lock(m_mutex);
  return m_readings;
}

std::uint32_t FakeHostStatistics::lastWordCount() const {
  const std::lock_guard lock(m_mutex);
  return m_lastWordCount;
}

}  // namespace halvard
