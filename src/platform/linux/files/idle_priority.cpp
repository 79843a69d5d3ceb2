#include "platform/linux/files/idle_priority.h"

#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace halvard {

namespace {
// As in linux/ioprio.h, which some kernels ship with words that C++ keeps for itself.
constexpr int kWhoProcess = 1;
constexpr int kClassIdle = 3 << 13;
}  // namespace

void IdlePriority::lowerCurrentThread() const {
  // The system call takes thread ids; 0 is the calling thread.
  const sched_param none{};
  ::sched_setscheduler(0, SCHED_IDLE, &none);
  ::syscall(SYS_ioprio_set, kWhoProcess, 0, kClassIdle);
}

}  // namespace halvard
