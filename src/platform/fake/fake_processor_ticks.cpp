#include "platform/fake/fake_processor_ticks.h"

#include <utility>

namespace halvard {

std::optional<std::vector<ProcessorLoad>> FakeProcessorTicks::processorLoad() {
  ++m_readings;
  if (!m_queue.empty()) {
    m_load = std::move(m_queue.front());
    m_queue.pop_front();
  }
  return m_load;
}

void FakeProcessorTicks::setProcessorLoad(std::optional<std::vector<ProcessorLoad>> load) {
  m_queue.clear();
  m_load = std::move(load);
}

}  // namespace halvard
