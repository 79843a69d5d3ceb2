#pragma once

#include <chrono>
#include <string>

#include "core/clock.h"
#include "platform/linux/purge/purge_guard.h"
#include "platform/ports/purgeable_memory.h"

namespace halvard {

/// The worker that is installed beside the running executable.
std::string defaultWorkerPath();

/// Purgeable memory in a worker process: fills memory, so that the kernel pages out what idle programs hold.
///
/// Before each pin the guard (judgeStep) is asked. A buffer that it refuses, or that the worker cannot fill, is
/// volatile from birth: mapped but without pages. Where the machine has no free swap this is every buffer, and the
/// purge does nothing: it could only push out the page cache, which counts as free already.
///
/// The worker is the kernel's first choice when memory runs out, and ends with its session and with the application.
/// A session is used on the thread that opened it.
class WorkerPurgeableMemory : public PurgeableMemory {
 public:
  struct Limits {
    /// A worker that has not answered by then is killed, and its session is not alive.
    std::chrono::milliseconds answer = std::chrono::seconds(30);
    /// Longest time that a session spends waiting for the machine to recover, for one buffer and in all. Buffers that
    /// would have to wait longer are refused.
    std::chrono::milliseconds waitForBuffer = std::chrono::seconds(1);
    std::chrono::milliseconds waitInAll = std::chrono::seconds(30);
    /// Longest time that a session fills: on a busy machine the worker, which gives way to everybody, gets little done,
    /// and nobody watches a button for minutes. Buffers after that are refused.
    std::chrono::milliseconds fillInAll = std::chrono::seconds(90);
  };

  /// `readings` and `clock` outlive this object and its sessions.
  WorkerPurgeableMemory(GuardReadingsSource& readings, Clock& clock, std::string workerPath = defaultWorkerPath());
  WorkerPurgeableMemory(GuardReadingsSource& readings, Clock& clock, std::string workerPath, Limits limits);

  /// Starts the worker. Why it could not start is said on standard error.
  std::unique_ptr<PurgeableSession> openSession() override;

 private:
  GuardReadingsSource& m_readings;
  Clock& m_clock;
  std::string m_workerPath;
  Limits m_limits;
};

}  // namespace halvard
