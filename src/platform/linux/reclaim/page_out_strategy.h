#pragma once

#include <chrono>
#include <string>

#include "core/clock.h"
#include "platform/linux/purge/purge_guard.h"
#include "platform/linux/reclaim/reclaim_strategy.h"
#include "platform/linux/reclaim/victim_source.h"

namespace halvard {

class WorkerProcess;

/// The page-out worker that is installed beside the running executable.
std::string defaultPageOutWorkerPath();

/// Targeted page-out: halvard-pageout-worker tells the kernel which pages of which idle programs to page out. Nobody
/// else is made to wait: no memory is taken for it. Needs the worker's capability and Linux 5.10.
///
/// A step pages out the next bytes of the coldest victim, and goes on with the next victim. A session is used on the
/// thread that opened it.
class PageOutStrategy : public ReclaimStrategy {
 public:
  /// All three outlive this object and its sessions.
  PageOutStrategy(VictimSource& victims, GuardReadingsSource& readings, Clock& clock,
                  std::string workerPath = defaultPageOutWorkerPath());

  Result<std::unique_ptr<PurgeableSession>> open() override;
  Result<ReclaimForecast> forecast() override;

 private:
  /// A worker that is ready, or why there is none.
  Result<std::unique_ptr<WorkerProcess>> startWorker();

  VictimSource& m_victims;
  GuardReadingsSource& m_readings;
  Clock& m_clock;
  std::string m_workerPath;
};

}  // namespace halvard
