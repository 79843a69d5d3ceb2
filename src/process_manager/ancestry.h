#pragma once

#include <QHash>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/ports/process_table.h"

namespace halvard {

/// Who descends from whom, by remembered parents. A parent is remembered also after it has ended: what an application
/// started through an intermediate process stays its descendant. One thread.
class Ancestry {
 public:
  /// Parents looked up on the way from a process to an ancestor.
  static constexpr std::size_t kSteps = 10;
  static constexpr std::int32_t kNoParent = -1;

  /// `table` must outlive this object.
  explicit Ancestry(ProcessTable& table) : m_table(table) {}

  /// Forgets every parent.
  void clear() { m_processesParrents.clear(); }

  /// Tells which processes exist now, so that a reused pid is noticed.
  void update(const std::vector<ProcessRecord>& processes);

  /// Parent of `pid`, read now; kNoParent without such a process.
  std::int32_t getParentIDFrom(std::int32_t pid);

  /// Remembered parent of `pid`, also when it is kNoParent; read where nothing is remembered, where the pid names
  /// another process now, and where the remembered parent's pid does.
  std::int32_t cachedGetParentIDFrom(std::int32_t pid);

  /// True when `parent` is among the first kSteps ancestors of `child`. No process is its own ancestor.
  bool isProcess(std::int32_t child, std::int32_t parent);

  /// The first kSteps ancestors of `child`, nearest first, up to 0 or kNoParent, which ends them.
  /// Valid until the next call.
  const std::vector<std::int32_t>& ancestors(std::int32_t child);

 private:
  struct Parent {
    std::int32_t pid = kNoParent;
    std::optional<std::uint64_t> childStart;  // none when the child was not among the existing processes
  };
  std::optional<std::uint64_t> startOf(std::int32_t pid) const;
  bool holds(const Parent& parent, std::int32_t child) const;

  ProcessTable& m_table;
  QHash<std::int32_t, Parent> m_processesParrents;
  struct Start {
    std::int32_t pid;
    std::uint64_t time;
  };
  std::vector<Start> m_starts;  // of the existing processes, by pid
  std::vector<std::int32_t> m_ancestors;
};

}  // namespace halvard
