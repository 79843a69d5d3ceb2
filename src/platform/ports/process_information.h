#pragma once

#include <QByteArray>
#include <QStringList>
#include <cstdint>
#include <optional>

namespace halvard {

/// Processor time a process has used since it started. Nanoseconds.
struct TaskTimes {
  std::uint64_t totalUser = 0;
  std::uint64_t totalSystem = 0;
};

/// Single facts about one process, for diagnosis. Any thread.
class ProcessInformation {
 public:
  virtual ~ProcessInformation() = default;

  /// What "/bin/ps" prints for `arguments`, messages in English, whatever its exit status; nothing when it could not
  /// run. Blocks until the tool ends, at most 5 seconds.
  virtual std::optional<QByteArray> processStatus(const QStringList& arguments) = 0;

  /// Nothing when there is no such process.
  virtual std::optional<TaskTimes> taskTimes(std::int32_t pid) = 0;
};

}  // namespace halvard
