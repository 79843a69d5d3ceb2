#pragma once

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "core/result.h"
#include "platform/linux/procfs/file_descriptor.h"
#include "platform/linux/purge/worker_protocol.h"

namespace halvard {

/// One running halvard-purge-worker or halvard-pageout-worker and the channel to it. One thread at a time, and the
/// thread that starts it must outlive it: the kernel ends the worker with the thread that made it.
class WorkerProcess {
 public:
  /// Starts the program at `path` and waits until it is ready. `answerLimit` is the longest wait for an answer, that
  /// first one included: a worker that takes longer is killed. The error says what it answered when it was not ready.
  static Result<std::unique_ptr<WorkerProcess>> start(const std::string& path, std::chrono::milliseconds answerLimit);
  /// Closes the channel, so that the worker ends, and waits for that; one that does not end is killed.
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  /// One command of halvard-purge-worker. 0 or an errno. A worker that died, stopped answering or answers nonsense is
  /// dead afterwards, and reaped.
  int perform(purge_worker::Operation operation, std::uint32_t buffer, std::uint64_t size);
  /// The same for any kind of worker: sends the command with the next serial and awaits its answer. Its own error is
  /// in `answer`; this one is that of the channel.
  template <class Command, class Answer>
  int exchange(Command& command, Answer& answer) {
    command.serial = ++m_serial;
    const int code = transfer(std::as_bytes(std::span(&command, 1)), std::as_writable_bytes(std::span(&answer, 1)));
    if (code != 0) return code;
    return answer.magic == Answer().magic && answer.serial == command.serial ? 0 : fail(EBADMSG);
  }
  bool isAlive() const;
  /// For tests and diagnosis.
  int processId() const { return m_processId; }

 private:
  WorkerProcess(int processId, FileDescriptor process, FileDescriptor channel, std::chrono::milliseconds answerLimit);
  int transfer(std::span<const std::byte> command, std::span<std::byte> answer);
  /// 0 or an errno.
  int receive(std::span<std::byte> packet);
  int receiveReadiness();
  /// Kills the worker; gives the code back.
  int fail(int code);
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
