#include "platform/fake/fake_process_table.h"

#include <QtGlobal>
#include <algorithm>

namespace halvard {

ProcessTable::Reading FakeProcessTable::read() {
  ++m_readings;
  if (m_errors.empty()) return {0, &m_processes};
  const int error = m_errors.front();
  m_errors.pop_front();
  return {error, nullptr};
}

std::optional<std::int32_t> FakeProcessTable::parentPid(std::int32_t pid) {
  const auto found = std::ranges::find(m_processes, pid, &ProcessRecord::pid);
  if (found == m_processes.end()) return std::nullopt;
  return found->parentPid;
}

ProcessRecord& FakeProcessTable::add(std::int32_t pid, std::int32_t parentPid, const QString& name,
                                     std::optional<ByteCount> residentBytes) {
  ProcessRecord record;
  record.pid = pid;
  record.parentPid = parentPid;
  record.startTime = m_nextStart++;
  record.name = name;
  record.residentBytes = residentBytes;
  return m_processes.emplace_back(std::move(record));
}

void FakeProcessTable::remove(std::int32_t pid) {
  std::erase_if(m_processes, [pid](const ProcessRecord& record) { return record.pid == pid; });
}

ProcessRecord& FakeProcessTable::process(std::int32_t pid) {
  const auto found = std::ranges::find(m_processes, pid, &ProcessRecord::pid);
  Q_ASSERT(found != m_processes.end());
  return *found;
}

}  // namespace halvard
