#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "core/result.h"
#include "platform/linux/procfs/file_descriptor.h"
#include "platform/linux/purge/worker_protocol.h"

namespace halvard {

/// One running halvard-purge-worker and the channel to it. One thread at a time, and the thread that starts it must
/// outlive it: the kernel ends the worker with the thread that made it.
class WorkerProcess {
 public:
  /// Starts the program at `path` and waits until it is ready. `answerLimit` is the longest wait for an answer, that
  /// first one included: a worker that takes longer is killed.
  static Result<std::unique_ptr<WorkerProcess>> start(const std::string& path, std::chrono::milliseconds answerLimit);
  /// Closes the channel, so that the worker ends, and waits for that; one that does not end is killed.
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  /// 0 or an errno. A worker that died, stopped answering or answers nonsense is dead afterwards, and reaped.
  int perform(purge_worker::Operation operation, std::uint32_t buffer, std::uint64_t size);
  bool isAlive() const;
  /// For tests and diagnosis.
  int processId() const { return m_processId; }

 private:
  WorkerProcess(int processId, FileDescriptor process, FileDescriptor channel, std::chrono::milliseconds answerLimit);
  /// 0 or an errno.
  int receive(purge_worker::Answer& answer);
  void kill();
  /// Waits for the end of the worker; false when it has not ended `limit` from now.
  bool reap(std::chrono::milliseconds limit);

  int m_processId;
  FileDescriptor m_process;  // a pidfd; none once the worker is reaped
  FileDescriptor m_channel;
  std::chrono::milliseconds m_answerLimit;
  std::uint64_t m_serial = 0;
};

}  // namespace halvard
