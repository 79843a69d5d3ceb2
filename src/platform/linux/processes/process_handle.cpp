#include "platform/linux/processes/process_handle.h"

#include <cerrno>
#include <csignal>

#include <poll.h>
#include <sys/syscall.h>

#include "platform/linux/processes/process_directory.h"
#include "platform/linux/processes/stat_line.h"

namespace halvard {

namespace {

// By number: the header of the C library that declares these two cannot be used from C++ in every release.
int openPidHandle(std::int32_t pid) {
  return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0U));
}

int sendThroughHandle(int descriptor, int signal) {
  return static_cast<int>(::syscall(SYS_pidfd_send_signal, descriptor, signal, nullptr, 0U));
}

}  // namespace

std::unique_ptr<ProcessHandle> ProcessHandle::open(std::int32_t pid, std::uint64_t startTime, QByteArray root) {
  FileDescriptor descriptor(openPidHandle(pid));
  if (!descriptor && errno == ESRCH) return nullptr;
  // Only now: had the pid been reused before the handle was made, the start time would show it.
  std::unique_ptr<ProcessHandle> handle(new ProcessHandle(pid, startTime, std::move(root), std::move(descriptor)));
  return handle->isStillThere() ? std::move(handle) : nullptr;
}

ProcessHandle::ProcessHandle(std::int32_t pid, std::uint64_t startTime, QByteArray root, FileDescriptor descriptor)
    : m_pid(pid), m_startTime(startTime), m_root(std::move(root)), m_descriptor(std::move(descriptor)) {}

bool ProcessHandle::isStillThere() const {
  ProcessDirectory directory(m_root);
  char buffer[1024];
  const auto line = parseStatLine(directory.read(m_pid, "stat", buffer));
  return line && line->startTime == m_startTime && !line->exited;
}

bool ProcessHandle::hasEnded() const {
  if (!m_descriptor) return !isStillThere();
  pollfd question{m_descriptor.get(), POLLIN, 0};
  return ::poll(&question, 1, 0) > 0;
}

bool ProcessHandle::send(int signal) const {
  if (hasEnded()) return false;
  if (!m_descriptor) return ::kill(m_pid, signal) == 0;
  return sendThroughHandle(m_descriptor.get(), signal) == 0;
}

}  // namespace halvard
