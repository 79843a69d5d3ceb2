#pragma once

#include <string>

#include "core/clock.h"
#include "platform/linux/purge/purge_guard.h"
#include "platform/linux/reclaim/reclaim_strategy.h"
#include "platform/linux/reclaim/victim_source.h"

namespace halvard {

/// Control-group reclaim: `memory.reclaim` of the user's own application units, where the unified hierarchy (cgroup v2)
/// hands it over to the user. Touches a unit only when all its processes may be paged out. Needs Linux 5.19; before 6.9
/// the kernel drops the units' caches first, for it cannot be told to leave them.
class ControlGroupStrategy : public ReclaimStrategy {
 public:
  /// Bytes that the kernel is asked for at once, at most: it does not come back before it has tried.
  static constexpr ByteCount kMostAtOnce = ByteCount{32} << 20;

  /// All three outlive this object and its sessions. `root` is where the unified hierarchy is mounted.
  ControlGroupStrategy(VictimSource& victims, GuardReadingsSource& readings, Clock& clock,
                       std::string root = "/sys/fs/cgroup");

  Result<std::unique_ptr<PurgeableSession>> open() override;
  Result<ReclaimForecast> forecast() override;

 private:
  struct Found {
    VictimSource::Reading reading;
    std::vector<Victim> units;
  };
  /// The units that may be asked, or why there are none.
  Result<Found> find();

  VictimSource& m_victims;
  GuardReadingsSource& m_readings;
  Clock& m_clock;
  std::string m_root;
};

}  // namespace halvard
