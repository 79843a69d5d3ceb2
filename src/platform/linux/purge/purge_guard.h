#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "core/clock.h"
#include "core/units.h"
#include "platform/linux/procfs/kept_file.h"
#include "platform/linux/procfs/memory_pressure.h"

namespace halvard {

/// What the guard of a purge looks at.
struct GuardReadings {
  ByteCount physical = 0;
  ByteCount available = 0;  ///< MemAvailable
  ByteCount swapFree = 0;
  /// Nothing where the kernel does not measure it: then only room counts.
  std::optional<MemoryPressure> pressure;
  std::chrono::steady_clock::time_point time;
  ByteCount swapTotal = 0;
  /// The line "some": somebody waited for memory, whoever it was.
  std::optional<MemoryPressure> somePressure = std::nullopt;
  ByteCount free = 0;  ///< MemFree
  /// Below so much the kernel pages out in the background (parseBackgroundReclaimMark); 0 where it does not say.
  ByteCount backgroundMark = 0;
};

enum class GuardVerdict {
  Go,
  /// The machine is short of breath: ask again in a moment.
  Wait,
  Refuse,
};

/// Bytes that stay free of a fill: the larger of 512 MiB and 5 % of physical memory.
ByteCount guardReserve(ByteCount physicalMemory);

/// True without swap and from four fifths on: what is left is for the machine's own needs.
bool isSwapFull(const GuardReadings& now);

/// Whether `step` more bytes may be filled.
///
/// - Refuse when swap is full (isSwapFull), where its size is known.
/// - Refuse when there is no free swap. A fill gains by paging out what idle programs hold; without swap it can only
///   push out the page cache, which counts as free already.
/// - Refuse unless MemAvailable and half of the free swap (what is paged out to zram stays in RAM, compressed), less
///   `step`, stay above the reserve.
/// - Refuse when everything stood still for memory (`full` avg10) during a tenth of the last ten seconds before the
///   first step, and during two fifths of it later: the fill's own reclaiming counts as standing still where nobody
///   else wants to run, and comes to 20 to 30 % with these pauses.
/// - Wait when it did so during a quarter or more of the time since `before`, and for 20 ms at least: avg10 is slow to
///   notice. `before` is the reading before the latest step or wait; nothing before the first.
GuardVerdict judgeStep(const GuardReadings& now, const std::optional<GuardReadings>& before, ByteCount step);

/// How long a fill rests before its next step: as long as somebody waited for memory since `before`, at most 100 ms, so
/// that whoever needs memory meets the fill at most half of the time.
std::chrono::milliseconds restAfterStep(const GuardReadings& now, const GuardReadings& before);

/// Whether a fill goes too fast for the kernel's paging out in the background: a step more, and whoever needs memory
/// would have to page out for it by himself.
bool isKernelBehind(const GuardReadings& now);

/// Whether one more step of paging out idle programs may be made. That takes no memory and makes nobody wait by itself,
/// so that whoever waits is another.
///
/// - Refuse when swap is full, and when somebody waited for memory during a tenth of the last ten seconds before the
///   first step, or during two fifths of them later.
/// - Wait when somebody did during a quarter or more of the time since `before`, and for 20 ms at least.
GuardVerdict judgePageOut(const GuardReadings& now, const std::optional<GuardReadings>& before);

/// Whether a step may use huge pages: while more than an eighth of physical memory is available, so that nothing has to
/// be reclaimed for them. Huge pages are filled faster, but page out less of the idle programs: of 3 GiB 1.4 GiB when
/// all are huge, 2.7 GiB with this rule (measured on 24 GiB with zram).
bool mayUseHugePages(const GuardReadings& now);

/// Where the readings come from; an interface so that a test can write them.
class GuardReadingsSource {
 public:
  virtual ~GuardReadingsSource() = default;
  /// Nothing when the machine does not say how much memory there is. One thread at a time.
  virtual std::optional<GuardReadings> read() = 0;
};

/// /proc/meminfo and both lines of /proc/pressure/memory, one pread each; /proc/zoneinfo once.
class ProcfsGuardReadings : public GuardReadingsSource {
 public:
  explicit ProcfsGuardReadings(Clock& clock, const std::string& procRoot = "/proc");
  std::optional<GuardReadings> read() override;

 private:
  Clock& m_clock;
  KeptFile m_meminfo;
  ByteCount m_backgroundMark;
  MemoryPressureReader m_pressure;
  MemoryPressureReader m_somePressure;
};

}  // namespace halvard
