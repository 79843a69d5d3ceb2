#include "memory/pageout/ranges.h"

#include <stdlib.h>
#include <string.h>

namespace halvard::purge_worker {
namespace {

constexpr std::uint64_t kSparse = 1024;
constexpr std::uint64_t kAlwaysDense = std::uint64_t{1} << 30;

bool startsWith(const char* text, const char* prefix) {
  return strncmp(text, prefix, strlen(prefix)) == 0;
}

/// Takes a number that `separator` ends.
bool takeNumber(const char*& text, int base, char separator, std::uint64_t& number) {
  char* end = nullptr;
  number = strtoull(text, &end, base);
  if (end == text || *end != separator) return false;
  text = end + 1;
  return true;
}

}  // namespace

void Ranges::clear() {
  m_length = 0;
  m_isCandidate = false;
  m_isTaken = false;
  m_count = 0;
}

void Ranges::feed(const char* text, std::size_t length) {
  for (std::size_t index = 0; index < length; ++index) {
    if (text[index] == '\n') {
      m_line[m_length] = '\0';
      takeLine();
      m_length = 0;
    } else if (m_length + 1 < sizeof m_line) {
      m_line[m_length++] = text[index];
    }
  }
}

void Ranges::takeLine() {
  // Labels of figures begin with a capital letter, addresses of mappings with a small digit.
  if (m_line[0] < 'A' || m_line[0] > 'Z') return takeHeader(m_line);
  constexpr char kAnonymous[] = "Anonymous:";
  if (m_isCandidate && startsWith(m_line, kAnonymous)) {
    takeCandidate(strtoull(m_line + sizeof kAnonymous - 1, nullptr, 10));
  } else if (m_isTaken && startsWith(m_line, "VmFlags:")) {
    if (strstr(m_line, " lo")) --m_count;
    m_isTaken = false;
  }
}

// "7f12a000-7f12c000 rw-p 00000000 00:00 0    [heap]"
void Ranges::takeHeader(const char* text) {
  m_isCandidate = false;
  m_isTaken = false;
  std::uint64_t skipped = 0;
  if (!takeNumber(text, 16, '-', m_current.begin) || !takeNumber(text, 16, ' ', m_current.end)) return;
  if (m_current.begin >= m_current.end || strnlen(text, 5) < 5 || text[1] != 'w' || text[3] != 'p') return;
  text += 5;
  if (!takeNumber(text, 16, ' ', skipped) || !takeNumber(text, 16, ':', skipped)) return;
  if (!takeNumber(text, 16, ' ', skipped)) return;
  const std::uint64_t inode = strtoull(text, nullptr, 10);
  m_isCandidate = inode == 0 && !strstr(text, "[stack]") && !strstr(text, "[v");
}

void Ranges::takeCandidate(std::uint64_t anonymousKilobytes) {
  m_isCandidate = false;
  const std::uint64_t size = m_current.end - m_current.begin;
  if (anonymousKilobytes == 0 || m_count == kMost) return;
  if (size > kAlwaysDense && size / 1024 / anonymousKilobytes >= kSparse) return;
  m_ranges[m_count++] = m_current;
  m_isTaken = true;
}

}  // namespace halvard::purge_worker
