#include "platform/linux/crash/dying_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace halvard {
namespace {

bool becomesReadable(int descriptor, std::chrono::milliseconds limit) {
  pollfd entry{descriptor, POLLIN, 0};
  return poll(&entry, 1, static_cast<int>(limit.count())) == 1;
}

}  // namespace

DyingProcess::DyingProcess(int descriptor) : m_descriptor(descriptor) {
  fcntl(m_descriptor, F_SETFD, FD_CLOEXEC);
}

DyingProcess::~DyingProcess() {
  close(m_descriptor);
  if (m_processDescriptor >= 0) close(m_processDescriptor);
}

std::optional<crash_handler::CrashMessage> DyingProcess::receive(std::chrono::milliseconds limit) {
  crash_handler::CrashMessage message;
  if (!becomesReadable(m_descriptor, limit)) return std::nullopt;
  const ssize_t size = recv(m_descriptor, &message, sizeof message, MSG_TRUNC);
  if (size != sizeof message || message.size != sizeof message) return std::nullopt;
  message.exceptionType[sizeof message.exceptionType - 1] = '\0';
  message.exceptionReason[sizeof message.exceptionReason - 1] = '\0';
  m_processDescriptor = static_cast<int>(syscall(SYS_pidfd_open, message.process, 0));
  return message;
}

void DyingProcess::tell(crash_handler::Progress progress) {
  send(m_descriptor, &progress, sizeof progress, MSG_NOSIGNAL | MSG_DONTWAIT);
}

bool DyingProcess::waitForEnd(std::chrono::milliseconds limit) {
  return m_processDescriptor >= 0 && becomesReadable(m_processDescriptor, limit);
}

std::chrono::seconds systemUptime() {
  timespec time;
  clock_gettime(CLOCK_BOOTTIME, &time);
  return std::chrono::seconds(time.tv_sec);
}

}  // namespace halvard
