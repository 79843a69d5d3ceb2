#pragma once

#include <QStringList>
#include <functional>

#include "platform/linux/purge/purge_guard.h"
#include "platform/linux/purge/worker_purgeable_memory.h"
#include "platform/linux/reclaim/control_group_strategy.h"
#include "platform/linux/reclaim/fill_strategy.h"
#include "platform/linux/reclaim/page_out_strategy.h"
#include "platform/linux/reclaim/strategic_purgeable_memory.h"
#include "platform/linux/reclaim/victim_source.h"

namespace halvard {

/// Everything that this machine offers for freeing memory: targeted page-out, else control groups, else the fill.
class LinuxPurgeableMemory : public PurgeableMemory {
 public:
  /// `clock` outlives this object. `exclusions` names what is to be left alone; it is asked on the purging thread.
  LinuxPurgeableMemory(Clock& clock, std::function<QStringList()> exclusions);

  std::unique_ptr<PurgeableSession> openSession() override { return m_memory.openSession(); }
  ReclaimForecast forecast() override { return m_memory.forecast(); }

 private:
  ProcfsGuardReadings m_readings;
  LinuxVictimSource m_victims;
  WorkerPurgeableMemory m_fillMemory;
  PageOutStrategy m_pageOut;
  ControlGroupStrategy m_controlGroups;
  FillStrategy m_fill;
  StrategicPurgeableMemory m_memory;
};

}  // namespace halvard
