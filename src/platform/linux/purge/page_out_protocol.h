#pragma once

#include "platform/linux/purge/worker_protocol.h"

/// What the application and halvard-pageout-worker say to each other, in the manner of worker_protocol.h. The worker
/// speaks first: an Answer with serial 0, whose error is EPERM when it lacks the right to advise other processes,
/// ENOSYS on kernels before 5.10; with either it ends. Then every PageOutCommand gets one PageOutAnswer.
namespace halvard::purge_worker {

inline constexpr std::uint32_t kPageOutMagic = 0x6f567248;
inline constexpr std::uint64_t kMaxPageOut = std::uint64_t{64} << 20;

/// Pages out the next `bytes` of a process: private anonymous memory that is writable and resident, in the order of the
/// addresses. Commands for the same process go on where the one before ended; its memory map is read once, at the
/// first.
struct PageOutCommand {
  std::uint32_t magic = kPageOutMagic;
  std::int32_t pid = 0;         ///< above 1
  std::uint64_t serial = 0;     ///< not 0
  std::uint64_t startTime = 0;  ///< clock ticks after boot, as in /proc/PID/stat: another one is another process
  std::uint64_t bytes = 0;      ///< from 1 to kMaxPageOut
};

struct PageOutAnswer {
  std::uint32_t magic = kPageOutMagic;
  /// 0, or an errno: EBADMSG for a packet that is no command, EINVAL for a bad field, ESRCH when this process does not
  /// exist (any more), EPERM when it belongs to another user or the kernel does not allow it.
  std::int32_t error = 0;
  std::uint64_t serial = 0;  ///< the command's; 0 when there is none
  /// Bytes that were resident before and are not any more.
  std::uint64_t bytes = 0;
  /// 1 when a further command may find more, 0 at the end of the process's memory.
  std::uint64_t more = 0;
};

static_assert(sizeof(PageOutCommand) == 32 && sizeof(PageOutAnswer) == 32, "no padding");

/// Beside ExitStatus.
enum PageOutExitStatus : int {
  kNoRight = 5,        ///< the program file has no cap_sys_nice, the session forbids capabilities, or the kernel is old
  kForeignCaller = 6,  ///< started by another user's process, or as another user than who started it
};

}  // namespace halvard::purge_worker
