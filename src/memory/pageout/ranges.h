#pragma once

#include <cstddef>
#include <cstdint>

namespace halvard::purge_worker {

/// Addresses from `begin` up to `end`.
struct Range {
  std::uint64_t begin;
  std::uint64_t end;
};

/// The parts of a process's memory that may be paged out, out of the text of /proc/PID/smaps. No allocation.
///
/// These are mappings that are private, writable, of no file, and hold anonymous pages. Left out are the first thread's
/// stack, what is locked, and mappings so sparse (a page in 1024, reserved address space) that finding their pages
/// would cost more than they hold.
class Ranges {
 public:
  /// More mappings than this are left alone.
  static constexpr std::size_t kMost = 16'384;

  void clear();
  /// Takes the next piece of the text, of any length.
  void feed(const char* text, std::size_t length);

  std::size_t count() const { return m_count; }
  const Range& operator[](std::size_t index) const { return m_ranges[index]; }

 private:
  void takeLine();
  void takeHeader(const char* text);
  void takeCandidate(std::uint64_t anonymousKilobytes);

  char m_line[256];
  std::size_t m_length = 0;
  Range m_current{0, 0};
  bool m_isCandidate = false;
  bool m_isTaken = false;
  std::size_t m_count = 0;
  Range m_ranges[kMost];
};

}  // namespace halvard::purge_worker
