#pragma once

#include <deque>

#include "platform/ports/processor_ticks.h"

namespace halvard {

/// Processor counters that a test sets. One thread.
class FakeProcessorTicks : public ProcessorTicks {
 public:
  /// One processor, all counters 0.
  FakeProcessorTicks() = default;

  std::optional<std::uint32_t> processorCount() const override { return m_count; }
  std::optional<std::vector<ProcessorLoad>> processorLoad() override;

  /// Need not agree with the number of entries in a reading.
  void setProcessorCount(std::optional<std::uint32_t> count) { m_count = count; }
  /// What every reading gives from now on; nothing makes readings fail. Readings in the queue are dropped.
  void setProcessorLoad(std::optional<std::vector<ProcessorLoad>> load);
  /// One more reading behind those already queued. Once the queue is empty the last one stays.
  void queueProcessorLoad(std::optional<std::vector<ProcessorLoad>> load) { m_queue.push_back(std::move(load)); }

  /// Readings so far, failed ones included.
  int readings() const { return m_readings; }

 private:
  std::optional<std::uint32_t> m_count = 1;
  std::optional<std::vector<ProcessorLoad>> m_load = std::vector<ProcessorLoad>(1);
  std::deque<std::optional<std::vector<ProcessorLoad>>> m_queue;
  int m_readings = 0;
};

}  // namespace halvard
