#include "process_manager/cpu_info_manager.h"

#include <QRegularExpression>
#include <algorithm>
#include <cinttypes>

#include "platform/ports/process_information.h"

namespace halvard {

namespace {

constexpr std::int32_t kShownPid = 286;

// The column titles of the two families of ps; what is left without them is the row of the process.
const QStringList& processStatusHeaders() {
  static const QStringList headers{QStringLiteral("PID  %CPU   TT  STAT      TIME COMMAND"),
                                   QStringLiteral("PID %CPU S TTY          TIME COMMAND")};
  return headers;
}

struct Ticks {
  float busy = 0;
  float idle = 0;
};

Ticks sinceStart(const ProcessorLoad& current) {
  return {static_cast<float>(current[CPU_STATE_USER] + current[CPU_STATE_SYSTEM] + current[CPU_STATE_NICE]),
          static_cast<float>(current[CPU_STATE_IDLE])};
}

// Unsigned arithmetic wraps as the counters do; read as signed, a counter that steps back a little stays little.
Ticks between(const ProcessorLoad& previous, const ProcessorLoad& current) {
  const auto difference = [&](CpuState state) { return current[state] - previous[state]; };
  const std::uint32_t busy = difference(CPU_STATE_USER) + difference(CPU_STATE_SYSTEM) + difference(CPU_STATE_NICE);
  return {static_cast<float>(static_cast<std::int32_t>(busy)),
          static_cast<float>(static_cast<std::int32_t>(difference(CPU_STATE_IDLE)))};
}

}  // namespace

CPUInfoManager::CPUInfoManager(ProcessorTicks& ticks, ProcessInformation& processes)
    : m_ticks(ticks), m_processes(processes), m_numCPUs(ticks.processorCount().value_or(1)) {}

float CPUInfoManager::getCPUUsage() {
  const std::lock_guard lock(m_CPUUsageLock);
  auto current = m_ticks.processorLoad();
  if (!current) return 0.0F;
  const float share = busyShare(*current);
  m_prevCpuInfo = std::move(current);
  return share;
}

float CPUInfoManager::busyShare(const Readings& current) const {
  const std::size_t count = std::min<std::size_t>(m_numCPUs, current.size());
  float busy = 0;
  float total = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const bool known = m_prevCpuInfo && i < m_prevCpuInfo->size();
    const Ticks ticks = known ? between((*m_prevCpuInfo)[i], current[i]) : sinceStart(current[i]);
    total += ticks.idle + ticks.busy;
    busy += ticks.busy;
  }
  return busy / total;
}

QString CPUInfoManager::get_process_usage(std::int32_t pid) {
  const auto output = m_processes.processStatus(
      {QStringLiteral("-O"), QStringLiteral("%cpu"), QStringLiteral("-p"), QString::number(pid)});
  QString text = QString::fromUtf8(output.value_or(QByteArray()));
  for (const QString& header : processStatusHeaders())
    text.remove(header);
  const QStringList pieces = text.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
  return pieces.size() >= 2 ? pieces[1] : QStringLiteral("unknown");
}

void CPUInfoManager::showCPUInfo(std::FILE* output) {
  const TaskTimes times = m_processes.taskTimes(kShownPid).value_or(TaskTimes{});
  std::fprintf(output, "Total User CPU = %" PRIu64 "\n", times.totalUser);
  std::fprintf(output, "Total System CPU = %" PRIu64 "\n", times.totalSystem);
}

}  // namespace halvard
