#include "memory/pageout/rights.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

#include "memory/worker/channel.h"

namespace halvard::purge_worker {
namespace {

constexpr std::uint32_t bit(int capability) {
  return std::uint32_t{1} << capability;  // both used here are in the first word
}

}  // namespace

bool callerIsOwnUser(long parent) {
  uid_t real = 0;
  uid_t effective = 0;
  uid_t saved = 0;
  if (getresuid(&real, &effective, &saved) != 0 || effective != real || saved != real) return false;
  ucred caller{};
  socklen_t length = sizeof caller;
  if (getsockopt(kChannel, SOL_SOCKET, SO_PEERCRED, &caller, &length) != 0) return false;
  return caller.uid == real && caller.pid == static_cast<pid_t>(parent);
}

bool keepOnlyPageOut() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3]{};
  if (syscall(SYS_capget, &header, sets) != 0) return false;
  if (!(sets[0].permitted & bit(CAP_SYS_NICE))) return false;
  const std::uint32_t kept = bit(CAP_SYS_NICE) | (getuid() == 0 ? bit(CAP_SYS_PTRACE) : 0);
  sets[0].permitted &= kept;
  sets[0].effective = sets[0].permitted;
  sets[0].inheritable = 0;
  sets[1] = {};
  (void)prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
  return syscall(SYS_capset, &header, sets) == 0;
}

}  // namespace halvard::purge_worker
