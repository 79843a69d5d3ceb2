#include "memory/worker/confinement.h"

#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>

namespace halvard::purge_worker {

bool endWithParent(long parent) {
  return prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent;
}

void giveWay(int niceness) {
  constexpr int kWhoProcess = 1;
  constexpr int kClassIdle = 3 << 13;
  (void)setpriority(PRIO_PROCESS, 0, niceness);
  (void)syscall(SYS_ioprio_set, kWhoProcess, 0, kClassIdle);
}

void dropWhatWasInherited() {
  (void)clearenv();
  (void)syscall(SYS_close_range, 3U, ~0U, 0U);
  const rlimit noCore{0, 0};
  (void)setrlimit(RLIMIT_CORE, &noCore);
  (void)prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
}

}  // namespace halvard::purge_worker
