#pragma once

#include <QHash>
#include <QObject>
#include <chrono>
#include <functional>
#include <future>
#include <vector>

#include "core/clock.h"
#include "core/jobs.h"
#include "process_manager/ancestry.h"
#include "process_manager/application_entry.h"

namespace halvard {

/// Lists the user's applications by the memory they and their helpers hold. All work happens on one serial queue;
/// results arrive on the main thread. It has no timer for the list: its clients decide the cadence.
class ProcessesManager {
 public:
  using Completion = std::function<void(ApplicationList)>;

  /// The arguments must outlive this object; `table` and `applications` are used on its queue only. Made and destroyed
  /// on the main thread.
  ProcessesManager(ProcessTable& table, RunningApplications& applications, Clock& clock);

  /// Builds the list and calls `completion` with it, never null, on the thread of `context`, which is the calling one.
  /// Dropped when `context` is destroyed before.
  void getTopProcessCompletion(QObject* context, Completion completion);
  /// Those of more than `size` for who comes for them later: nobody is woken when they are there. None when this object
  /// has gone before.
  std::future<ApplicationEntries> getTopProcess(ByteCount size);
  /// The same, with the first five entries at most.
  void getTopFiveProcessCompletion(QObject* context, Completion completion);

  /// After `period` and then after each further one, forgets what is remembered about processes: names, icons and
  /// locations are at most that old. The constructor starts it with one hour. Main thread.
  void clearCacheEachPeriod(std::chrono::milliseconds period);

  /// The queue all lists are built on.
  JobQueue& queue() { return m_queue; }

 private:
  struct Known {  // what of an application is read once
    std::shared_ptr<RunningApplication> app;
    std::optional<QString> name;
    std::optional<QString> icon;
    std::optional<QUrl> url;
  };
  struct Helper {
    std::int32_t pid;
    ByteCount size;
    std::optional<QString> name;
  };
  struct Lists {
    ApplicationEntries apps;
    std::vector<Helper> helpers;
    ByteCount lastSize = 0;
    std::int32_t own = 0;  // pid of this program, which is on no list
  };

  // On the queue.
  void initCacher();
  const std::vector<ProcessRecord>& getBSDProcessList();
  ApplicationList buildList();
  ApplicationEntries buildEntries();
  ApplicationEntries largerThan(ByteCount size);
  void place(const ProcessRecord& process, Lists& lists);
  ApplicationEntry entryFor(const ProcessRecord& process, std::shared_ptr<RunningApplication> app, ByteCount size);
  void fold(const Helper& helper, ApplicationEntries& apps);

  ProcessTable& m_table;
  RunningApplications& m_applications;
  Ancestry m_ancestry;                            // the queue's
  QHash<std::int32_t, Known> m_processesAppData;  // the queue's
  QObject m_context;
  ScheduledCall m_renewal;
  JobQueue m_queue;  // last: it waits for its work, which uses the rest
};

}  // namespace halvard
