#include "cli/local_program.h"

#include <cmath>

#include "memory/memory_status.h"

namespace halvard {

LocalProgram::LocalProgram(const CliServices& services, PurgeControllerView& view)
    : m_cpuInfo(services.processorTicks, services.processInformation),
      m_defaults(services.store, services.clock, services.applicationVersion),
      m_preferences(services.store, m_noLogin),
      m_purgeManager(services.purgeHostStatistics, services.purgeableMemory, services.clock),
      m_controller({services.hostStatistics,
                    m_purgeManager,
                    m_preferences,
                    m_defaults,
                    services.clock,
                    m_notifications,
                    m_silence,
                    m_cpu,
                    m_noWatch,
                    services.scripts,
                    m_version,
                    {},
                    {}},
                   view),
      m_journal(m_controller, services.hostStatistics, m_version, services.store, services.clock, services.isAlone),
      m_snapshot(services.hostStatistics, m_version) {
  m_snapshot.initValues();
  m_controller.initValues();
}

bool LocalProgram::refresh() {
  return m_snapshot.updateMemoryStatictics() == HostStatistics::kSuccess;
}

QJsonObject LocalProgram::status() {
  const auto cpuUsage = static_cast<double>(m_cpuInfo.getCPUUsage());
  return memoryStatus(m_snapshot, {std::isnan(cpuUsage) ? 0 : cpuUsage, m_controller.isPurging(),
                                   m_controller.lastPurgedSize(), m_defaults.cleanedSize()});
}

}  // namespace halvard
