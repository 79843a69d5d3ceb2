#include "crash/handler/reporter_process.h"

#include "crash/handler/crash_signals.h"

#include <cerrno>
#include <climits>

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace halvard::crash_handler {
namespace {

/// Runs in the child, on the memory of the dying process: only system calls, nothing is written. Returns the exit
/// status of a child that could not become the reporter.
int becomeReporter(void* argument) {
  const auto& reporter = *static_cast<const ReporterProcess*>(argument);
  struct sigaction defaultAction = {};
  defaultAction.sa_handler = SIG_DFL;
  for (const int number : kCrashSignals)
    sigaction(number, &defaultAction, nullptr);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  if (reporter.reporterEnd == kReporterDescriptor) {
    fcntl(kReporterDescriptor, F_SETFD, 0);
  } else {
    dup2(reporter.reporterEnd, kReporterDescriptor);
  }
  syscall(SYS_close_range, kReporterDescriptor + 1, UINT_MAX, 0);
  execve(reporter.path, reporter.arguments, reporter.environment);
  return 127;
}

/// Like vfork it needs no new memory, which a dying program may not have; unlike vfork the child has a stack of its
/// own.
pid_t start(const ReporterProcess& reporter) {
  return clone(becomeReporter, reporter.childStackTop, CLONE_VM | CLONE_VFORK | SIGCHLD,
               const_cast<ReporterProcess*>(&reporter));
}

long long monotonicMilliseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1000LL + now.tv_nsec / 1'000'000;
}

/// False when nothing came within the limit, however often signals interrupt the wait.
bool waitForProgress(const ReporterProcess& reporter) {
  const long long deadline = monotonicMilliseconds() + reporter.silenceLimitMilliseconds;
  pollfd entry{reporter.ownEnd, POLLIN, 0};
  for (;;) {
    const long long left = deadline - monotonicMilliseconds();
    const int ready = poll(&entry, 1, left > 0 ? static_cast<int>(left) : 0);
    if (ready != -1 || errno != EINTR) return ready == 1;
  }
}

}  // namespace

ReporterOutcome runReporter(const ReporterProcess& reporter, const CrashMessage& message) {
  ReporterOutcome outcome;
  const pid_t process = start(reporter);
  close(reporter.reporterEnd);
  if (process < 0) return outcome;
  // Where the kernel lets only chosen processes trace this one. It fails where it is not needed.
  prctl(PR_SET_PTRACER, static_cast<unsigned long>(process), 0, 0, 0);
  send(reporter.ownEnd, &message, sizeof message, MSG_NOSIGNAL);
  while (!outcome.finished) {
    if (!waitForProgress(reporter)) {
      kill(process, SIGKILL);
      break;
    }
    Progress progress = Progress::alive;
    if (recv(reporter.ownEnd, &progress, sizeof progress, MSG_DONTWAIT) <= 0) break;
    outcome.counted |= progress == Progress::counted;
    outcome.saved |= progress == Progress::saved;
    outcome.finished = progress == Progress::leave;
  }
  return outcome;
}

}  // namespace halvard::crash_handler
