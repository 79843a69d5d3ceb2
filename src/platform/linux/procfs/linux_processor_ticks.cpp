#include "platform/linux/procfs/linux_processor_ticks.h"

#include <algorithm>

namespace halvard {
namespace {

/// Longer than a line can be: a name, then ten numbers of up to twenty digits.
constexpr std::size_t kLongestLine = 256;

std::optional<std::uint32_t> presentProcessors(const std::string& sysRoot) {
  std::array<char, 4096> buffer;
  return parseProcessorList(readFile(sysRoot + "/devices/system/cpu/present", buffer));
}

}  // namespace

LinuxProcessorTicks::LinuxProcessorTicks(const std::string& procRoot, const std::string& sysRoot)
    : m_stat(procRoot + "/stat"),
      m_count(presentProcessors(sysRoot)),
      m_latest(m_count.value_or(1)),
      m_next(m_latest.size()),
      m_buffer((m_latest.size() + 2) * kLongestLine) {}

std::optional<std::vector<ProcessorLoad>> LinuxProcessorTicks::processorLoad() {
  std::copy(m_latest.begin(), m_latest.end(), m_next.begin());
  if (!parseProcessorStat(m_stat.read(m_buffer), m_next)) return std::nullopt;
  std::vector<ProcessorLoad> loads(m_latest.size());
  for (std::size_t processor = 0; processor < loads.size(); ++processor) {
    for (std::size_t state = 0; state < CPU_STATE_MAX; ++state) {
      std::uint64_t& ticks = m_latest[processor][state];
      ticks = std::max(ticks, m_next[processor][state]);
      loads[processor][state] = static_cast<std::uint32_t>(ticks);
    }
  }
  return loads;
}

}  // namespace halvard
