#pragma once

#include <QByteArray>
#include <cstdint>
#include <memory>

#include "platform/linux/procfs/file_descriptor.h"

namespace halvard {

/// One certain process, whatever becomes of its pid. Any thread.
class ProcessHandle {
 public:
  /// Null when the process that started at `startTime` (ticks since boot) does not exist any more.
  static std::unique_ptr<ProcessHandle> open(std::int32_t pid, std::uint64_t startTime, QByteArray root = "/proc");

  std::int32_t pid() const { return m_pid; }
  std::uint64_t startTime() const { return m_startTime; }

  /// True from the moment it ends, also while it is a zombie.
  bool hasEnded() const;
  /// False when it has ended or may not be signalled.
  bool send(int signal) const;

 private:
  ProcessHandle(std::int32_t pid, std::uint64_t startTime, QByteArray root, FileDescriptor descriptor);
  bool isStillThere() const;

  const std::int32_t m_pid;
  const std::uint64_t m_startTime;
  const QByteArray m_root;
  // Of the kernel's handle; none where it gives no handles. Then the start time decides.
  const FileDescriptor m_descriptor;
};

}  // namespace halvard
