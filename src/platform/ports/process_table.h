#pragma once

#include <QString>
#include <cstdint>
#include <optional>
#include <vector>

#include "core/units.h"

namespace halvard {

/// One process at the moment of a reading.
struct ProcessRecord {
  std::int32_t pid = 0;
  /// 0 for the first processes of the system and for those whose parent lies in another process namespace.
  std::int32_t parentPid = 0;
  /// When the process started, in the kernel's clock ticks since boot. With the pid it names one process: a reused pid
  /// has a later start. A child never starts before its parent.
  std::uint64_t startTime = 0;
  /// Changes when the process replaces its program; otherwise only to be compared. 0 where the kernel does not tell.
  std::uint64_t programMark = 0;
  /// File name of the executable where it is longer than the kernel's command name, else the command name.
  QString name;
  /// Resident memory, exact; nothing when it could not be read, though the process exists.
  std::optional<ByteCount> residentBytes;
  /// A thread of the kernel: no program, no memory.
  bool kernelThread = false;
  /// Ended, but its parent has not asked for the status yet.
  bool exited = false;
};

/// The kernel's table of processes. One thread at a time.
class ProcessTable {
 public:
  struct Reading {
    /// 0, or an error of <cerrno>. ENOMEM: the table outgrew the room it was read into; read again.
    int error = 0;
    /// The processes, newest first, so that of several ancestors the nearest comes first. Null exactly when `error` is
    /// not 0. Owned by the table; valid until the next reading.
    const std::vector<ProcessRecord>* processes = nullptr;
  };

  virtual ~ProcessTable() = default;

  /// One pass over all processes. One that vanishes in mid-pass, or of which nothing can be read, is left out.
  virtual Reading read() = 0;

  /// Parent of one process, read afresh; nothing when there is no such process.
  virtual std::optional<std::int32_t> parentPid(std::int32_t pid) = 0;
};

}  // namespace halvard
