#include "process_manager/ancestry.h"

#include <algorithm>

namespace halvard {

void Ancestry::update(const std::vector<ProcessRecord>& processes) {
  m_starts.clear();
  for (const ProcessRecord& process : processes)
    m_starts.push_back({process.pid, process.startTime});
  std::ranges::sort(m_starts, {}, &Start::pid);
}

std::optional<std::uint64_t> Ancestry::startOf(std::int32_t pid) const {
  const auto found = std::ranges::lower_bound(m_starts, pid, {}, &Start::pid);
  if (found == m_starts.end() || found->pid != pid) return std::nullopt;
  return found->time;
}

std::int32_t Ancestry::getParentIDFrom(std::int32_t pid) {
  return m_table.parentPid(pid).value_or(kNoParent);
}

bool Ancestry::holds(const Parent& parent, std::int32_t child) const {
  const auto start = startOf(child);
  if (start && start != parent.childStart) return false;
  // A parent is never younger than its child: one that seems so has the pid of the real one.
  return !parent.childStart || startOf(parent.pid).value_or(0) <= *parent.childStart;
}

std::int32_t Ancestry::cachedGetParentIDFrom(std::int32_t pid) {
  const auto found = m_processesParrents.constFind(pid);
  if (found != m_processesParrents.constEnd() && holds(*found, pid)) return found->pid;
  const std::int32_t parent = getParentIDFrom(pid);
  m_processesParrents.insert(pid, {parent, startOf(pid)});
  return parent;
}

bool Ancestry::isProcess(std::int32_t child, std::int32_t parent) {
  const auto& line = ancestors(child);
  return std::ranges::find(line, parent) != line.end();
}

const std::vector<std::int32_t>& Ancestry::ancestors(std::int32_t child) {
  m_ancestors.clear();
  std::int32_t pid = child;
  while (pid != 0 && pid != kNoParent && m_ancestors.size() < kSteps) {
    pid = cachedGetParentIDFrom(pid);
    m_ancestors.push_back(pid);
  }
  return m_ancestors;
}

}  // namespace halvard
