#include "memory/pageout/target.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace halvard::purge_worker {
namespace {

constexpr std::uint64_t kSmallestPage = 4096;
/// As large as a huge page, so that those are paged out whole.
constexpr std::uint64_t kWindow = std::uint64_t{2} << 20;
constexpr std::uint64_t kWindowsInAStep = 2048;
constexpr std::size_t kMostWindows = 64;

/// The text of a short kernel file, ended by a zero. 0 on failure.
std::size_t readText(int folder, const char* name, char* buffer, std::size_t size) {
  const int file = openat(folder, name, O_RDONLY | O_CLOEXEC);
  if (file < 0) return 0;
  const ssize_t length = read(file, buffer, size - 1);
  ::close(file);
  buffer[length > 0 ? length : 0] = '\0';
  return length > 0 ? static_cast<std::size_t>(length) : 0;
}

std::uint64_t pageSize() {
  static const auto size = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  return size;
}

/// What stands behind the next `count` blanks.
const char* skipWords(const char* text, int count) {
  for (; count > 0 && text; --count) {
    text = strchr(text, ' ');
    if (text) ++text;
  }
  return text;
}

}  // namespace

int Target::tryOn(pid_t other) {
  const int handle = static_cast<int>(syscall(SYS_pidfd_open, other, 0U));
  const long result = handle < 0 ? -1 : syscall(SYS_process_madvise, handle, nullptr, 0UL, MADV_PAGEOUT, 0U);
  const int error = result < 0 ? errno : 0;
  if (handle >= 0) ::close(handle);
  // EACCES is about that one process.
  return error == ENOSYS || error == EPERM ? error : 0;
}

bool Target::is(pid_t pid, std::uint64_t startTime) const {
  return m_handle >= 0 && m_pid == pid && m_startTime == startTime;
}

void Target::close() {
  int* const descriptors[] = {&m_handle, &m_folder, &m_pagemap};
  for (int* descriptor : descriptors) {
    if (*descriptor >= 0) ::close(*descriptor);
    *descriptor = -1;
  }
  m_range = 0;
  m_address = 0;
  m_ranges.clear();
}

int Target::open(pid_t pid, std::uint64_t startTime) {
  close();
  m_pid = pid;
  m_startTime = startTime;
  m_handle = static_cast<int>(syscall(SYS_pidfd_open, pid, 0U));
  if (m_handle < 0) return errno;
  char path[32];
  (void)snprintf(path, sizeof path, "/proc/%d", static_cast<int>(pid));
  m_folder = ::open(path, O_PATH | O_DIRECTORY | O_CLOEXEC);
  int error = m_folder < 0 ? ESRCH : check();
  // The process of the handle lives, so that the pid was its own all the time, and the folder is its own too.
  if (error == 0) error = readRanges();
  if (error != 0) close();
  return error;
}

int Target::check() const {
  const bool isTheOne = readStartTime() == m_startTime;
  const bool isOwn = hasOwnUser();
  pollfd ended{m_handle, POLLIN, 0};
  if (!isTheOne || poll(&ended, 1, 0) != 0) return ESRCH;
  return isOwn ? 0 : EPERM;
}

// All four of "Uid:": real, effective, saved, file system.
bool Target::hasOwnUser() const {
  char text[4096];
  if (readText(m_folder, "status", text, sizeof text) == 0) return false;
  const char* number = strstr(text, "\nUid:");
  if (!number) return false;
  number += 5;
  for (int index = 0; index < 4; ++index) {
    char* end = nullptr;
    const unsigned long user = strtoul(number, &end, 10);
    if (end == number || user != getuid()) return false;
    number = end;
  }
  return true;
}

// The 22nd word; the second one is in brackets and may itself hold blanks and brackets. 0 on failure.
std::uint64_t Target::readStartTime() const {
  char text[1024];
  if (readText(m_folder, "stat", text, sizeof text) == 0) return 0;
  const char* bracket = strrchr(text, ')');
  const char* number = bracket ? skipWords(bracket, 20) : nullptr;
  return number ? strtoull(number, nullptr, 10) : 0;
}

int Target::readRanges() {
  const int file = openat(m_folder, "smaps", O_RDONLY | O_CLOEXEC);
  if (file < 0) return errno == EACCES ? EPERM : errno;
  static char buffer[65'536];
  ssize_t length = 0;
  while ((length = read(file, buffer, sizeof buffer)) > 0 || (length < 0 && errno == EINTR))
    if (length > 0) m_ranges.feed(buffer, static_cast<std::size_t>(length));
  ::close(file);
  if (length < 0) return ESRCH;
  m_pagemap = openat(m_folder, "pagemap", O_RDONLY | O_CLOEXEC);
  return m_pagemap < 0 ? EPERM : 0;
}

// Bit 63 of a page's entry: present; 61: of a file or shared. The frame numbers are hidden from this process.
std::uint64_t Target::residentBytes(const Range& range) const {
  std::uint64_t entries[kWindow / kSmallestPage];
  const std::uint64_t page = pageSize();
  const std::size_t wanted = (range.end - range.begin) / page * sizeof entries[0];
  const ssize_t length = pread(m_pagemap, entries, wanted, static_cast<off_t>(range.begin / page * sizeof entries[0]));
  std::uint64_t pages = 0;
  for (ssize_t index = 0; index < length / static_cast<ssize_t>(sizeof entries[0]); ++index)
    pages += entries[index] >> 63 & ~(entries[index] >> 61) & 1;
  return pages * page;
}

bool Target::nextWindow(Range& window) {
  if (m_range == m_ranges.count()) return false;
  const Range& range = m_ranges[m_range];
  window.begin = m_address == 0 ? range.begin : m_address;
  const std::uint64_t boundary = (window.begin / kWindow + 1) * kWindow;
  window.end = boundary < range.end ? boundary : range.end;
  m_address = window.end;
  if (window.end == range.end) {
    ++m_range;
    m_address = 0;
  }
  return true;
}

// One window at a time, because the process cannot map memory meanwhile. What is no memory any more, or may not be
// paged out, is left behind.
int Target::advise(const Range& window) const {
  const iovec place{reinterpret_cast<void*>(window.begin), window.end - window.begin};
  if (syscall(SYS_process_madvise, m_handle, &place, 1UL, MADV_PAGEOUT, 0U) >= 0) return 0;
  if (errno == EPERM || errno == EACCES) return EPERM;
  return errno == ESRCH ? ESRCH : 0;
}

Target::Step Target::pageOut(std::uint64_t bytes) {
  Step step;
  step.error = check();
  Range windows[kMostWindows];
  std::size_t count = 0;
  std::uint64_t before = 0;
  for (std::uint64_t looked = 0; before < bytes && count < kMostWindows && looked < kWindowsInAStep; ++looked) {
    if (step.error != 0 || !nextWindow(windows[count])) break;
    const std::uint64_t resident = residentBytes(windows[count]);
    before += resident;
    if (resident > 0) ++count;
  }
  for (std::size_t index = 0; index < count && step.error == 0; ++index)
    step.error = advise(windows[index]);
  if (step.error != 0) return {step.error, 0, false};
  std::uint64_t after = 0;
  for (std::size_t index = 0; index < count; ++index)
    after += residentBytes(windows[index]);
  step.bytes = before > after ? before - after : 0;
  step.more = m_range < m_ranges.count();
  return step;
}

}  // namespace halvard::purge_worker
