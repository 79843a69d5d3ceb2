#pragma once

#include "platform/linux/purge/purge_guard.h"
#include "platform/linux/reclaim/reclaim_strategy.h"

namespace halvard {

/// The fill of `memory` (WorkerPurgeableMemory) as the last of the strategies: it is always open.
class FillStrategy : public ReclaimStrategy {
 public:
  /// Both outlive this object.
  FillStrategy(PurgeableMemory& memory, GuardReadingsSource& readings) : m_memory(memory), m_readings(readings) {}

  Result<std::unique_ptr<PurgeableSession>> open() override;
  /// What the kernel would take for idle is its own decision: no sources, no figures.
  Result<ReclaimForecast> forecast() override;

 private:
  PurgeableMemory& m_memory;
  GuardReadingsSource& m_readings;
};

}  // namespace halvard
