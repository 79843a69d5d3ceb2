#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

#include "memory/pageout/ranges.h"

namespace halvard::purge_worker {

/// One process of this process's own user whose memory is being paged out, by the kernel's handle: a later process with
/// the same pid is never touched.
class Target {
 public:
  /// What one step did.
  struct Step {
    int error = 0;
    std::uint64_t bytes = 0;
    bool more = false;
  };

  /// Whether this process may advise others, tried on `other` without advising anything: 0, ENOSYS on kernels before
  /// 5.10, or EPERM where the capability counts for nothing, as in a container.
  static int tryOn(pid_t other);

  bool is(pid_t pid, std::uint64_t startTime) const;
  /// 0, or an errno: ESRCH when there is no such process, EPERM when it is another user's or may not be looked at.
  int open(pid_t pid, std::uint64_t startTime);
  void close();

  /// Pages out about `bytes` more. It looks at no more than 4 GiB of addresses, and may find less.
  Step pageOut(std::uint64_t bytes);

 private:
  /// 0 when the process lives and is still this user's alone: it may have changed its user since.
  int check() const;
  bool hasOwnUser() const;
  std::uint64_t readStartTime() const;
  int readRanges();
  std::uint64_t residentBytes(const Range& range) const;
  bool nextWindow(Range& window);
  /// 0, ESRCH or EPERM.
  int advise(const Range& window) const;

  pid_t m_pid = 0;
  std::uint64_t m_startTime = 0;
  int m_handle = -1;  // a pidfd
  int m_folder = -1;  // /proc/PID: of this process for ever, as the pidfd is
  int m_pagemap = -1;
  std::size_t m_range = 0;
  std::uint64_t m_address = 0;  // within that range, or 0 at its start
  Ranges m_ranges;
};

}  // namespace halvard::purge_worker
