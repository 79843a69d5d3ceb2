#pragma once

#include <utility>

#include "platform/ports/processor_ticks.h"

namespace halvard {

/// Processor counters that a test sets. One thread.
class FakeProcessorTicks : public ProcessorTicks {
 public:
  /// One processor, all counters 0.
  FakeProcessorTicks() = default;

  std::optional<std::uint32_t> processorCount() const override { return m_count; }
  std::optional<std::vector<ProcessorLoad>> processorLoad() override { return m_load; }

  /// Need not agree with the number of entries in a reading.
  void setProcessorCount(std::optional<std::uint32_t> count) { m_count = count; }
  /// What every reading gives from now on; nothing makes readings fail.
  void setProcessorLoad(std::optional<std::vector<ProcessorLoad>> load) { m_load = std::move(load); }

 private:
  std::optional<std::uint32_t> m_count = 1;
  std::optional<std::vector<ProcessorLoad>> m_load = std::vector<ProcessorLoad>(1);
};

}  // namespace halvard
