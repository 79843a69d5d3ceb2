#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "core/units.h"

namespace halvard {

/// What changes when a process uses its memory. Ticks and faults grow; the sizes are the kernel's quick estimates.
struct ProcessActivity {
  std::uint64_t userTicks = 0;
  std::uint64_t systemTicks = 0;
  std::uint64_t minorFaults = 0;
  std::uint64_t majorFaults = 0;
  ByteCount virtualBytes = 0;
  PageCount residentPages = 0;
  bool operator==(const ProcessActivity&) const = default;
};

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
  ProcessActivity activity;
  /// Clock ticks between boot and start.
  std::uint64_t startTime = 0;
  /// Made of addresses that each start of a program chooses anew; the same constant for all foreign processes.
  std::uint64_t programMark = 0;
};

/// Nothing when the text is no whole line.
std::optional<StatLine> parseStatLine(std::string_view text);

/// The second number of /proc/PID/statm: resident pages, exact.
std::optional<PageCount> parseResidentPages(std::string_view text);

}  // namespace halvard
