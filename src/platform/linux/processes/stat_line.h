#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "core/units.h"

namespace halvard {

/// What one line of /proc/PID/stat says, as far as it is used here.
struct StatLine {
  std::int32_t pid = 0;
  /// The kernel's command name: up to 15 bytes of any kind, longer for the kernel's own threads. A view of the text.
  std::string_view command;
  char state = '?';
  std::int32_t parentPid = 0;
  bool kernelThread = false;
  /// A process whose first thread has ended is no zombie as long as others run.
  bool exited = false;
  /// Processor time used, in clock ticks.
  std::uint64_t userTicks = 0;
  std::uint64_t systemTicks = 0;
  /// Clock ticks between boot and start.
  std::uint64_t startTime = 0;
  /// Made of addresses that each start of a program chooses anew; the same constant for all foreign processes.
  std::uint64_t programMark = 0;
};

/// Nothing when the text is no whole line.
std::optional<StatLine> parseStatLine(std::string_view text);

/// What /proc/PID/statm says, in pages.
struct MemoryLine {
  /// How the address space is laid out. A process that starts another program gets another one.
  struct Layout {
    PageCount all = 0;
    PageCount code = 0;
    PageCount data = 0;
    bool operator==(const Layout&) const = default;
  };
  Layout layout;
  /// Exact, unlike the figure in "stat".
  PageCount resident = 0;
};

/// Nothing when the text is no whole line.
std::optional<MemoryLine> parseMemoryLine(std::string_view text);

}  // namespace halvard
