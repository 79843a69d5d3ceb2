#include "platform/linux/purge/purge_guard.h"

#include <algorithm>
#include <array>

#include "platform/linux/procfs/memory_info.h"

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

bool stalledSince(const GuardReadings& now, const GuardReadings& before) {
  if (!now.pressure || !before.pressure) return false;
  const auto stalled = now.pressure->total - before.pressure->total;
  return stalled >= kShortestStall && stalled * kStallShare >= now.time - before.time;
}

}  // namespace

ByteCount guardReserve(ByteCount physicalMemory) {
  constexpr ByteCount kLeast = ByteCount{512} << 20;
  return std::max(kLeast, physicalMemory / 20);
}

GuardVerdict judgeStep(const GuardReadings& now, const std::optional<GuardReadings>& before, ByteCount step) {
  if (!hasRoom(now, step)) return GuardVerdict::Refuse;
  const std::uint32_t limit = before ? kStalledMeanwhile : kStalledBefore;
  if (now.pressure && now.pressure->average10 >= limit) return GuardVerdict::Refuse;
  return before && stalledSince(now, *before) ? GuardVerdict::Wait : GuardVerdict::Pin;
}

bool mayUseHugePages(const GuardReadings& now) {
  return now.available > now.physical / 8;
}

ProcfsGuardReadings::ProcfsGuardReadings(Clock& clock, const std::string& procRoot)
    : m_clock(clock), m_meminfo(procRoot + "/meminfo"), m_pressure(procRoot) {}

std::optional<GuardReadings> ProcfsGuardReadings::read() {
  std::array<char, 8192> buffer;
  const std::optional<MemoryInfo> info = parseMemoryInfo(m_meminfo.read(buffer));
  if (!info) return std::nullopt;
  return GuardReadings{info->total, info->available, info->swapFree, m_pressure.read(), m_clock.monotonicNow()};
}

}  // namespace halvard
