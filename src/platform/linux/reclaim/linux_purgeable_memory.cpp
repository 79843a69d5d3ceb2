#include "platform/linux/reclaim/linux_purgeable_memory.h"

#include <utility>

namespace halvard {

LinuxPurgeableMemory::LinuxPurgeableMemory(Clock& clock, std::function<QStringList()> exclusions)
    : m_readings(clock),
      m_victims(clock, std::move(exclusions)),
      m_fillMemory(m_readings, clock),
      m_pageOut(m_victims, m_readings, clock),
      m_controlGroups(m_victims, m_readings, clock),
      m_fill(m_fillMemory, m_readings),
      m_memory({m_pageOut, m_controlGroups, m_fill}) {}

}  // namespace halvard
