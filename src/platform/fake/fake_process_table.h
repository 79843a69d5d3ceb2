#pragma once

#include <deque>

#include "platform/ports/process_table.h"

namespace halvard {

/// A process table that a test fills. One thread at a time.
class FakeProcessTable : public ProcessTable {
 public:
  Reading read() override;
  std::optional<std::int32_t> parentPid(std::int32_t pid) override;

  /// Adds a process behind those already there and returns it for further changes; the reference holds until the
  /// next addition. Each starts later than the one before; the order of a reading is that of addition.
  ProcessRecord& add(std::int32_t pid, std::int32_t parentPid, const QString& name,
                     std::optional<ByteCount> residentBytes);
  void remove(std::int32_t pid);
  ProcessRecord& process(std::int32_t pid);

  /// The next readings end with these errors, one each.
  void queueErrors(std::deque<int> errors) { m_errors = std::move(errors); }

  /// Readings so far, failed ones included.
  int readings() const { return m_readings; }

 private:
  std::vector<ProcessRecord> m_processes;
  std::deque<int> m_errors;
  std::uint64_t m_nextStart = 1;
  int m_readings = 0;
};

}  // namespace halvard
