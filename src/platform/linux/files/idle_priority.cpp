#include "platform/linux/files/idle_priority.h"

#include <linux/ioprio.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace halvard {

void IdlePriority::lowerCurrentThread() const {
  // The system call takes thread ids; 0 is the calling thread.
  const sched_param none{};
  ::sched_setscheduler(0, SCHED_IDLE, &none);
  ::syscall(SYS_ioprio_set, IOPRIO_WHO_PROCESS, 0, IOPRIO_PRIO_VALUE(IOPRIO_CLASS_IDLE, 0));
}

}  // namespace halvard
