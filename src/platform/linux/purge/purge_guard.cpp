#include "platform/linux/purge/purge_guard.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <vector>

#include "platform/linux/procfs/memory_info.h"
#include "platform/linux/procfs/zone_watermarks.h"

namespace halvard {
namespace {

using namespace std::chrono_literals;

// Hundredths of a percent.
constexpr std::uint32_t kStalledBefore = 1000;
constexpr std::uint32_t kStalledMeanwhile = 4000;
constexpr auto kShortestStall = 20ms;
constexpr int kStallShare = 4;  // one part in so many

bool hasRoom(const GuardReadings& now, ByteCount step) {
  if (now.swapFree == 0) return false;
  const ByteCount room = now.available + now.swapFree / 2;
  return room > step && room - step > guardReserve(now.physical);
}

/// How much the counter of a line grew; 0 where the kernel does not count.
std::chrono::microseconds stallBetween(const std::optional<MemoryPressure>& before,
                                       const std::optional<MemoryPressure>& now) {
  return before && now ? now->total - before->total : 0us;
}

bool isLong(std::chrono::microseconds stall, const GuardReadings& now, const GuardReadings& before) {
  return stall >= kShortestStall && stall * kStallShare >= now.time - before.time;
}

bool isShortOfBreath(const std::optional<MemoryPressure>& pressure, bool isFirstStep) {
  return pressure && pressure->average10 >= (isFirstStep ? kStalledBefore : kStalledMeanwhile);
}

ByteCount readBackgroundMark(const std::string& procRoot) {
  constexpr std::size_t kSize = std::size_t{64} << 10;
  std::vector<char> buffer(kSize);
  const PageCount pages = parseBackgroundReclaimMark(readFile(procRoot + "/zoneinfo", buffer));
  return pages * static_cast<ByteCount>(::sysconf(_SC_PAGESIZE));
}

}  // namespace

ByteCount guardReserve(ByteCount physicalMemory) {
  constexpr ByteCount kLeast = ByteCount{512} << 20;
  return std::max(kLeast, physicalMemory / 20);
}

bool isSwapFull(const GuardReadings& now) {
  return (now.swapTotal - std::min(now.swapFree, now.swapTotal)) * 5 >= now.swapTotal * 4;
}

GuardVerdict judgeStep(const GuardReadings& now, const std::optional<GuardReadings>& before, ByteCount step) {
  if (!hasRoom(now, step) || (now.swapTotal > 0 && isSwapFull(now))) return GuardVerdict::Refuse;
  if (isShortOfBreath(now.pressure, !before)) return GuardVerdict::Refuse;
  const bool waits = before && isLong(stallBetween(before->pressure, now.pressure), now, *before);
  return waits ? GuardVerdict::Wait : GuardVerdict::Go;
}

std::chrono::milliseconds restAfterStep(const GuardReadings& now, const GuardReadings& before) {
  constexpr std::chrono::milliseconds kLongest = 100ms;
  const auto stall = std::chrono::ceil<std::chrono::milliseconds>(stallBetween(before.somePressure, now.somePressure));
  return std::clamp(stall, 0ms, kLongest);
}

bool isKernelBehind(const GuardReadings& now) {
  return now.free < now.backgroundMark;
}

GuardVerdict judgePageOut(const GuardReadings& now, const std::optional<GuardReadings>& before) {
  if (isSwapFull(now) || isShortOfBreath(now.somePressure, !before)) return GuardVerdict::Refuse;
  const bool waits = before && isLong(stallBetween(before->somePressure, now.somePressure), now, *before);
  return waits ? GuardVerdict::Wait : GuardVerdict::Go;
}

bool mayUseHugePages(const GuardReadings& now) {
  return now.available > now.physical / 8;
}

ProcfsGuardReadings::ProcfsGuardReadings(Clock& clock, const std::string& procRoot)
    : m_clock(clock),
      m_meminfo(procRoot + "/meminfo"),
      m_backgroundMark(readBackgroundMark(procRoot)),
      m_pressure(procRoot),
      m_somePressure(procRoot, PressureLine::Some) {}

std::optional<GuardReadings> ProcfsGuardReadings::read() {
  std::array<char, 8192> buffer;
  const std::optional<MemoryInfo> info = parseMemoryInfo(m_meminfo.read(buffer));
  if (!info) return std::nullopt;
  return GuardReadings{
      info->total,     info->available,       info->swapFree, m_pressure.read(), m_clock.monotonicNow(),
      info->swapTotal, m_somePressure.read(), info->free,     m_backgroundMark};
}

}  // namespace halvard
