#include "platform/linux/reclaim/fill_strategy.h"

#include "platform/linux/reclaim/reclaim_pace.h"

namespace halvard {

Result<std::unique_ptr<PurgeableSession>> FillStrategy::open() {
  return m_memory.openSession();
}

Result<ReclaimForecast> FillStrategy::forecast() {
  ReclaimForecast forecast;
  const auto obstacle = obstacleToPagingOut(m_readings.read());
  if (!obstacle) forecast.method = ReclaimMethod::Fill;
  forecast.explanation = obstacle ? QStringLiteral("caches count as free already, and nothing else can be given back")
                                  : QStringLiteral(
                                        "memory is filled until the kernel pages out what it takes for "
                                        "idle; how much that is shows only afterwards");
  return forecast;
}

}  // namespace halvard
