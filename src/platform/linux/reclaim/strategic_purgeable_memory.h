#pragma once

#include <functional>
#include <vector>

#include "platform/linux/reclaim/reclaim_strategy.h"

namespace halvard {

/// Purges by the first of its strategies that is open, chosen anew for each purge. Why the ones before were not is part
/// of the explanation.
class StrategicPurgeableMemory : public PurgeableMemory {
 public:
  using Strategies = std::vector<std::reference_wrapper<ReclaimStrategy>>;

  /// Best first; at least one. They outlive this object and its sessions.
  explicit StrategicPurgeableMemory(Strategies strategies);

  std::unique_ptr<PurgeableSession> openSession() override;
  ReclaimForecast forecast() override;

 private:
  Strategies m_strategies;
};

}  // namespace halvard
