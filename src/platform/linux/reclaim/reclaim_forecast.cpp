#include "platform/linux/reclaim/reclaim_forecast.h"

#include <algorithm>
#include <array>

#include "platform/linux/procfs/kept_file.h"
#include "platform/linux/procfs/swap_devices.h"

namespace halvard {

ByteCount roomInSwap(const GuardReadings& readings) {
  const ByteCount used = readings.swapTotal - std::min(readings.swapFree, readings.swapTotal);
  const ByteCount most = readings.swapTotal / 5 * 4;
  return most - std::min(used, most);
}

double keptShare(const std::string& procRoot, const std::string& sysRoot) {
  constexpr double kUsual = 1.0 / 3;
  constexpr ByteCount kEnoughToTell = ByteCount{64} << 20;
  std::array<char, 4096> buffer;
  const auto devices = parseSwapDevices(readFile(procRoot + "/swaps", buffer));
  if (!devices || devices->zramCount == 0) return 0;
  ByteCount contents = 0;
  ByteCount pool = 0;
  for (const std::uint32_t number : devices->zram()) {
    const std::string path = sysRoot + "/block/zram" + std::to_string(number) + "/mm_stat";
    const auto statistics = parseZramStatistics(readFile(path, buffer));
    contents += statistics ? statistics->contents : 0;
    pool += statistics ? statistics->pool : 0;
  }
  if (contents < kEnoughToTell) return kUsual;
  return std::min(1.0, static_cast<double>(pool) / static_cast<double>(contents));
}

ReclaimForecast forecastOf(ReclaimMethod method, const std::vector<Victim>& victims, ByteCount room, double kept) {
  ReclaimForecast forecast;
  for (const Victim& victim : victims) {
    const ByteCount bytes = std::min(victim.bytes, room);
    if (bytes == 0) break;
    room -= bytes;
    forecast.pageOutBytes += bytes;
    auto known = std::ranges::find(forecast.sources, victim.name, &ReclaimForecast::Source::name);
    if (known == forecast.sources.end()) {
      forecast.sources.push_back({victim.name, victim.pid, 0, 0});
      known = forecast.sources.end() - 1;
    }
    ++known->processes;
    known->bytes += bytes;
  }
  if (!forecast.sources.empty()) forecast.method = method;
  forecast.gainBytes = static_cast<ByteCount>(static_cast<double>(forecast.pageOutBytes) * (1 - kept));
  return forecast;
}

}  // namespace halvard
